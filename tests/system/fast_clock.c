/* Preloaded into an agent: its clock starts at noon and runs FAST_CLOCK times as fast as the real one. */

#include <stdlib.h>
#include <time.h>

static double monotonic(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

static double start;
static double speed = 1;

__attribute__((constructor)) static void set_up(void) {
  const char *wanted = getenv("FAST_CLOCK");
  if (wanted != NULL) speed = atof(wanted);
  start = monotonic();
}

time_t time(time_t *timer) {
  const time_t noon = 1767614400;
  const time_t now = noon + (time_t)((monotonic() - start) * speed);
  if (timer != NULL) *timer = now;
  return now;
}
