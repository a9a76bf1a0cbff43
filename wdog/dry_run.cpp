#include "wdog/dry_run.hpp"

#include <cstdio>

#include "wdog/clocks.hpp"
#include "wdog/settings.hpp"

namespace wdog {

void print_dry_run(const Schedule &schedule, int64_t now) {
  printf("schedule %s\n", print_schedule(schedule).data());
  if (schedule.kind != Schedule::Kind::off) {
    constexpr int forecast = 3;
    int64_t moment = now;
    int64_t uptime = read_clocks().uptime;
    for (int i = 0; i < forecast; ++i) {
      moment = next_reboot(schedule, moment, uptime);
      // The device has just been started then.
      uptime = 0;
      printf("reboot %s\n", print_moment(moment).data());
    }
  }
  PingSettings ping;
  read_ping_settings(ping);
  printf("ping %s\n", ping.is_on() ? "on" : "off");
}

}  // namespace wdog
