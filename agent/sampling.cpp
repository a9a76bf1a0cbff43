// Starts and stops the threads that collect in the background, and sends the traps that they decide on.
//
// The agent's thread does everything here but the loops themselves and `queue_trap`: its alarm starts the threads and
// sends the traps, since the agent's library is not made for several threads.
//
// The threads let every signal in. The commands that they start would inherit a signal mask, and the kernel hands the
// signals of a process to its first thread, the agent's.

#include "agent/sampling.hpp"

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "core/clock.hpp"
#include "core/lock.hpp"
#include "core/net_snmp.hpp"
#include "core/switches.hpp"
#include "mib/clients/clients.hpp"
#include "mib/health/health.hpp"
#include "mib/stations/stations.hpp"

namespace {

struct Worker {
  enum class State : unsigned char { idle, running, ended };

  void *(*loop)(void *);
  pthread_t thread{};
  std::atomic<State> state = State::idle;
};

/// Collects every station for the table beside the tree: a loop as those of the tasks.
void *collect_regularly(void *) {
  constexpr int32_t tick = 300;
  while (std::atomic_ref(thread_stopped).load() == 0) {
    msleep(tick);
    if (!zol::agent_runs()) break;
    // With reuse task 2, which comes by as often as a rule, is given the time to collect for both.
    constexpr int32_t grace = 1500;
    const int32_t left = zol::reuse_is_on() && zol::collect_seconds() >= 11 ? grace : 0;
    if (zol::extensions_are_on() && zol::collection_is_due(zol::collect_seconds(), left)) zol::make_collection();
  }
  return nullptr;
}

/// In a collection of task 2. One that comes a little early is as good as one in time.
void collect_with_task() {
  constexpr int32_t early = -1000;
  if (zol::extensions_are_on() && zol::collection_is_due(zol::collect_seconds(), early)) zol::make_collection();
}

constinit Worker workers[] = {
    {zol_realtime_thread_1}, {zol_realtime_thread_2}, {zol_realtime_thread_3}, {collect_regularly}};

void *run(void *argument) {
  auto &worker = *static_cast<Worker *>(argument);
  worker.loop(nullptr);
  worker.state = Worker::State::ended;
  return nullptr;
}

/// Takes back the threads that have ended. Whether all have.
bool join_ended() {
  bool all = true;
  for (Worker &worker : workers) {
    if (worker.state == Worker::State::ended) {
      pthread_join(worker.thread, nullptr);
      worker.state = Worker::State::idle;
    }
    if (worker.state != Worker::State::idle) all = false;
  }
  return all;
}

// Traps on their way to the agent's thread.

struct Trap {
  int generic;
  int specific;
};

/// Room for what a dozen collections can decide while the agent's thread is busy with one request.
constexpr size_t most_traps = 128;

pthread_mutex_t trap_guard = PTHREAD_MUTEX_INITIALIZER;
std::array<Trap, most_traps> waiting_traps;
size_t waiting = 0;
pthread_t agent_thread;

void queue_trap(int generic, int specific) {
  if (!zol::announces_by_traps()) return;
  if (pthread_equal(pthread_self(), agent_thread) != 0) {
    send_easy_trap(generic, specific);
    return;
  }
  static constinit zol::Complaint full(LOG_WARNING);
  const zol::Lock lock(trap_guard);
  if (waiting == waiting_traps.size()) {
    full.raise("too many traps are waiting: some are not sent");
    return;
  }
  full.over();
  waiting_traps[waiting++] = {generic, specific};
}

void send_waiting_traps() {
  std::array<Trap, most_traps> traps;
  size_t count = 0;
  {
    const zol::Lock lock(trap_guard);
    std::swap(count, waiting);
    traps = waiting_traps;
  }
  for (size_t i = 0; i < count; ++i) send_easy_trap(traps[i].generic, traps[i].specific);
}

// The alarm.

unsigned alarm_number = 0;
bool started = false;

/// False when a thread of an earlier start is still there: to be tried again.
bool start() {
  if (!join_ended()) return false;
  agent_thread = pthread_self();
  zol::log_from_this_thread();
  std::atomic_ref(thread_stopped).store(0);
  zol::abandon_collections(false);
  zol::send_traps_with(queue_trap);
  zol::collect_along(collect_with_task);
  init_task();
  return true;
}

/// Starts those that do not run yet. One that cannot be started, on a device short of memory, is tried again.
void start_workers() {
  static constinit zol::Complaint failing;
  for (Worker &worker : workers) {
    if (worker.state != Worker::State::idle) continue;
    worker.state = Worker::State::running;
    const int error = pthread_create(&worker.thread, nullptr, run, &worker);
    if (error != 0) {
      worker.state = Worker::State::idle;
      failing.raise("a sampling thread cannot be started: %s", strerror(error));
      return;
    }
  }
  failing.over();
}

void on_alarm(unsigned, void *) {
  if (!started) started = start();
  if (started) start_workers();
  send_waiting_traps();
  zol::take_over_collection();
  zol::tend_notifications();
  zol::log_waiting_lines();
}

}  // namespace

void zol::schedule_sampling() {
  if (alarm_number != 0) return;
  // An agent may end without taking its modules back.
  static bool at_exit = false;
  if (!at_exit) at_exit = atexit(zol::stop_sampling) == 0;
  alarm_number = snmp_alarm_register(1, SA_REPEAT, on_alarm, nullptr);
  if (alarm_number == 0) log_line("the agent has no alarm for sampling: nothing is sampled");
}

void zol::stop_sampling() {
  if (alarm_number != 0) snmp_alarm_unregister(alarm_number);
  alarm_number = 0;
  std::atomic_ref(thread_stopped).store(1);
  abandon_collections(true);
  // The loops look up every 300 ms. An agent must be able to stop within a second whatever its commands do; who hangs
  // now is not waited for again when the program ends.
  constexpr int32_t patience = 600;
  constexpr int32_t step = 10;
  bool all_ended = join_ended();
  for (int32_t waited = 0; started && !all_ended && waited < patience; waited += step) {
    msleep(step);
    all_ended = join_ended();
  }
  started = false;
  if (all_ended) {
    abandon_collections(false);
    send_traps_with(nullptr);
    collect_along(nullptr);
    forget_collections();
  }
  releaseList();
  log_waiting_lines();
}
