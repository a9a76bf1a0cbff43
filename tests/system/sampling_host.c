/* Loaded with dlmod beside single modules, with which nothing samples: runs what is due once a second, from the agent's
   own alarm. */

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

int init_task(void);
int zol_process_one_thread(void);

static void sample(unsigned alarm, void *unused) {
  (void)alarm;
  (void)unused;
  zol_process_one_thread();
}

void init_sampling_host(void) {
  init_task();
  snmp_alarm_register(1, SA_REPEAT, sample, NULL);
}
