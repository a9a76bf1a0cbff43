// Collects the stations with the system's tools, and hands what was found from the sampling thread to the agent's.

#include "core/clock.hpp"
#include "core/command.hpp"
#include "core/function_ref.hpp"
#include "core/lock.hpp"
#include "core/net_snmp.hpp"
#include "mib/clients/clients.hpp"
#include "mib/stations/printed.hpp"
#include "mib/stations/stations.hpp"

using namespace zol;

namespace {

// One snapshot belongs to the agent's thread, which may still be comparing it with the one before; one may wait for it,
// and one is being filled. What is compared with the next collection is the one that ended last, wherever it is; it is
// only read.

pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
/// Held by the thread that collects.
pthread_mutex_t collecting = PTHREAD_MUTEX_INITIALIZER;
constinit Snapshot snapshots[4];
/// The agent's, the one before it, and the one that ended last (which may be the agent's); null before the first.
const Snapshot *taken = nullptr;
const Snapshot *before_taken = nullptr;
const Snapshot *ended = nullptr;
/// When the last one began; 0 when there was none.
int64_t last_began = 0;
int64_t first_asked = 0;

constexpr size_t most_hooks = 4;
void (*hooks[most_hooks])();

int64_t last_request = 0;
int postponed = 0;
/// How often a collection is left for the next call.
constexpr int most_postponed = 4;

/// Whether the master agent of this subagent may be about to ask for more of one and the same request.
bool may_be_within_request() {
  constexpr int64_t pause = 300;
  return netsnmp_ds_get_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE) != 0 &&
         monotonic_ms() - last_request < pause;
}

/// The snapshot that nobody needs.
Snapshot &unused() {
  const Lock lock(guard);
  Snapshot *free = snapshots;
  while (free == taken || free == before_taken || free == ended) ++free;
  return *free;
}

// Whole lines: an address in the rest of a long one is no station's. Much may be printed: it is only passed through.
constexpr size_t line_size = 1024;
constexpr Limits all_of_it{.bytes = 4'194'304};
using Output = CommandOutput<line_size>;

/// Hands every line of an output to `use`. False when the command failed or was late.
bool each_line(Output &&output, FunctionRef<void(const char *)> use) {
  bool inside = false;
  while (output.next_without_newline() && !collections_abandoned()) {
    const bool continues = strlen(output.line()) == output.length_as_read();
    if (!inside) use(output.line());
    inside = continues;
  }
  return !collections_abandoned() && !output.late() && output && output.finish() == 0;
}

/// The bridged interfaces, a bit for each; nothing when the bridges cannot be asked.
std::optional<uint32_t> bridged_interfaces() {
  uint32_t interfaces = 0;
  const bool complete = each_line(Output(all_of_it, "brctl show"), [&](const char *line) {
    if (const auto index = bridged_interface(line)) interfaces |= 1U << *index;
  });
  return complete ? std::optional(interfaces) : std::nullopt;
}

bool list_stations(Snapshot &snapshot, uint8_t interface) {
  bool fits = true;
  const bool complete = each_line(Output(all_of_it, "wlanconfig ath%d list sta", interface), [&](const char *line) {
    if (const auto mac = listed_station(line)) fits = snapshot.add(*mac, interface) && fits;
  });
  if (!fits) log_line("out of memory: the stations were not collected");
  return complete && fits;
}

void read_figures(Snapshot &snapshot, uint8_t interface) {
  StationOutput associations(snapshot, interface);
  each_line(Output(all_of_it, "iwinfo ath%d assoclist", interface),
            [&](const char *line) { associations.association(line); });
  StationOutput counters(snapshot, interface);
  const int64_t now = monotonic_ms();
  each_line(Output(all_of_it, "80211stats -i ath%d -a", interface),
            [&](const char *line) { counters.counters(line, now); });
}

/// A bit for each interface that has stations.
uint32_t used_interfaces(const Snapshot &snapshot) {
  uint32_t interfaces = 0;
  for (const StationRecord &station : snapshot.stations()) interfaces |= 1U << station.interface;
  return interfaces;
}

bool each_interface(uint32_t interfaces, FunctionRef<bool(uint8_t)> use) {
  for (uint8_t index = 0; index < most_interfaces; ++index) {
    if ((interfaces & 1U << index) != 0 && !use(index)) return false;
  }
  return true;
}

void read_details(Snapshot &snapshot) {
  each_interface(used_interfaces(snapshot), [&](uint8_t index) {
    read_figures(snapshot, index);
    return !collections_abandoned();
  });
  each_line(Output(all_of_it, "cat /var/dhcp.leases"), [&](const char *line) { read_lease(snapshot, line); });
  each_line(Output(all_of_it, "uci show wireless"), [&](const char *line) { read_setting(snapshot, line); });
}

/// False when the stations cannot be listed.
bool fill(Snapshot &snapshot) {
  const auto interfaces = bridged_interfaces();
  if (!interfaces) return false;
  const bool complete = each_interface(*interfaces, [&](uint8_t index) { return list_stations(snapshot, index); });
  if (!complete) return false;
  snapshot.sort();
  if (!snapshot.stations().empty()) read_details(snapshot);
  return !collections_abandoned();
}

constinit const Snapshot none;

/// The collection that ended last. It is not changed meanwhile: only who collects ends one.
const Snapshot &former() {
  const Lock lock(guard);
  return ended != nullptr ? *ended : none;
}

void begin(int64_t now) {
  const Lock lock(guard);
  last_began = now;
}

/// Takes the collection that ended last. False when the agent has it, or leaves it for the next time.
bool take() {
  const Lock lock(guard);
  if (ended == taken) return false;
  if (may_be_within_request() && ++postponed < most_postponed) return false;
  postponed = 0;
  before_taken = taken;
  taken = ended;
  return true;
}

}  // namespace

bool zol::make_collection() {
  const Lock alone(collecting);
  const int64_t now = monotonic_ms();
  begin(now);
  Snapshot &snapshot = unused();
  snapshot.begin(now);
  if (!fill(snapshot)) return false;
  snapshot.follow(former());
  snapshot.duration = static_cast<uint32_t>(monotonic_ms() - now);
  const Lock lock(guard);
  ended = &snapshot;
  return true;
}

bool zol::collection_is_due(int32_t period, int32_t grace) {
  const int64_t now = monotonic_ms();
  const Lock lock(guard);
  if (first_asked == 0) first_asked = now;
  return last_began == 0 ? now - first_asked >= grace : now - last_began >= int64_t{period} * 1000 + grace;
}

void zol::note_request() { last_request = monotonic_ms(); }

bool zol::take_over_collection() {
  if (!take()) return false;
  for (void (*hook)() : hooks) {
    if (hook != nullptr) hook();
  }
  const Lock lock(guard);
  before_taken = nullptr;
  return true;
}

const Snapshot &zol::present_stations() { return taken != nullptr ? *taken : none; }
const Snapshot *zol::previous_stations() { return before_taken; }
bool zol::any_collection() { return taken != nullptr; }

void zol::after_collections(void (*hook)()) {
  for (auto &slot : hooks) {
    if (slot == nullptr || slot == hook) {
      slot = hook;
      return;
    }
  }
}

void zol::forget_collections() {
  const Lock lock(guard);
  taken = before_taken = ended = nullptr;
  last_began = first_asked = 0;
  for (Snapshot &snapshot : snapshots) snapshot.release();
}
