// The notifications with names of their own (8.2.0), what they carry (8.2.3), and how many of them are sent.

#include <pthread.h>

#include <cctype>

#include "core/clock.hpp"
#include "core/command/counters.hpp"
#include "core/enterprise.hpp"
#include "core/function_ref.hpp"
#include "core/guard.hpp"
#include "core/lock.hpp"
#include "core/static_table.hpp"
#include "core/switches.hpp"
#include "core/text.hpp"
#include "mib/health/health.hpp"
#include "mib/stations/stations.hpp"

using namespace zol;

StationChanges zol::station_changes;

namespace {

constexpr ObjectInfo carried(uint8_t number, const char *name, uint8_t type) {
  return {name, Arcs{3, number}, type, accessible_for_notify, Tree::extensions};
}
constexpr ObjectInfo notification(uint8_t number, const char *name) {
  return {name, Arcs{0, number}, notification_type, accessible_for_notify, Tree::extensions};
}

constexpr ObjectInfo objects[] = {
    /// @objects zolNotifyMac, zolNotifySsid, zolNotifyInterface, zolNotifySignal, zolNotifyConnected
    /// A station is there that the collection before has not found, or not on this interface. The first collection
    /// after a start announces nobody.
    notification(1, "zol_station_joined"),
    /// @objects zolNotifyMac, zolNotifySsid, zolNotifyInterface, zolNotifySignal, zolNotifyConnected
    /// A station is no longer there, or on another interface; with what was known of it last.
    notification(2, "zol_station_left"),
    /// @objects zolNotifyProgram, zolNotifyLate
    /// A command has missed its deadline, the first one since the last zolCommandsInTime.
    notification(3, "zol_commands_late"),
    /// @objects zolNotifyLate
    /// No command has missed its deadline for a minute.
    notification(4, "zol_commands_in_time"),
    /// @objects zolNotifyObject
    /// The guard has refused a text.
    notification(5, "zol_guard_refused"),
    /// @objects zolNotifyMoreJoined, zolNotifyMoreLeft, zolNotifyMoreOthers
    /// There was more to tell than 20 notifications in a second: how much was not told one by one since the last time.
    notification(6, "zol_notifications_summed"),
    /// @syntax MacAddress
    /// The station's address.
    carried(1, "zol_notify_mac", ASN_OCTET_STR),
    /// @syntax ZolarcText (SIZE (0..64))
    /// The name of the network that it is or was in.
    carried(2, "zol_notify_ssid", ASN_OCTET_STR),
    /// @syntax ZolarcText (SIZE (4..5))
    /// The wireless interface that it is or was associated with.
    carried(3, "zol_notify_interface", ASN_OCTET_STR),
    /// @units dBm
    /// The strength of its signal; 0 when it is not known.
    carried(4, "zol_notify_signal", ASN_INTEGER),
    /// How long it has or had been associated, as far as the collections tell.
    carried(5, "zol_notify_connected", ASN_TIMETICKS),
    /// @syntax ZolarcText (SIZE (0..63))
    /// The program that was late, without its arguments.
    carried(6, "zol_notify_program", ASN_OCTET_STR),
    /// Commands that have been late so far: zolHealthLate.
    carried(7, "zol_notify_late", ASN_COUNTER),
    /// @syntax ZolarcText (SIZE (0..63))
    /// The name of the object whose text was refused. The text itself is not told.
    carried(8, "zol_notify_object", ASN_OCTET_STR),
    /// Stations that have come and were not told one by one.
    carried(9, "zol_notify_more_joined", ASN_GAUGE),
    /// Stations that have gone and were not told one by one.
    carried(10, "zol_notify_more_left", ASN_GAUGE),
    /// Other notifications that were not sent.
    carried(11, "zol_notify_more_others", ASN_GAUGE),
};

enum Kind : uint8_t { joined = 1, left, commands_late, commands_in_time, guard_refused, summed };
enum Carried : uint8_t {
  mac = 1,
  ssid,
  interface,
  signal_strength,
  connected,
  program,
  late_so_far,
  object,
  more_joined
};

/// One notification on its way.
class Notification {
 public:
  explicit Notification(Kind kind) {
    static constexpr oid trap_oid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
    const FullOid own = full_oid(snmp_enterprise_oid, Arcs{0, static_cast<uint8_t>(kind)}, Tree::extensions);
    snmp_varlist_add_variable(&bindings_, trap_oid, std::size(trap_oid), ASN_OBJECT_ID,
                              reinterpret_cast<const u_char *>(own.arc.data()), own.length * sizeof(oid));
  }
  Notification(const Notification &) = delete;
  Notification &operator=(const Notification &) = delete;
  ~Notification() { snmp_free_varbind(bindings_); }

  Notification &with(Carried what, Octets octets) { return add(what, ASN_OCTET_STR, octets.data, octets.length); }
  Notification &with(Carried what, const char *text) { return with(what, text_answer(text)); }
  Notification &with(Carried what, uint8_t type, uint32_t number) { return add(what, type, &number, sizeof number); }

  /// The agent would keep each of the last thousand for its own table of them, in more memory than a device can spare.
  void send() {
    constexpr int application = NETSNMP_DS_APPLICATION_ID;
    const int kept_out = netsnmp_ds_get_boolean(application, NETSNMP_DS_APP_DONT_LOG);
    netsnmp_ds_set_boolean(application, NETSNMP_DS_APP_DONT_LOG, 1);
    send_v2trap(bindings_);
    netsnmp_ds_set_boolean(application, NETSNMP_DS_APP_DONT_LOG, kept_out);
  }

 private:
  Notification &add(uint8_t what, uint8_t type, const void *value, size_t length) {
    const FullOid name = full_oid(snmp_enterprise_oid, Arcs{3, what, 0}, Tree::extensions);
    snmp_varlist_add_variable(&bindings_, name.arc.data(), name.length, type, static_cast<const u_char *>(value),
                              length);
    return *this;
  }

  netsnmp_variable_list *bindings_ = nullptr;
};

// How many are sent.

/// Of the 20 in a second that receivers are spared from exceeding, two are left for the sums.
constexpr size_t most_in_a_second = 18;
constexpr int64_t second = 1000;

/// When the last ones were sent, the oldest at `oldest`.
int64_t sent_at[most_in_a_second];
size_t oldest = 0;
bool has_sent[most_in_a_second];

/// What was not told one by one.
struct More {
  uint32_t joined;
  uint32_t left;
  uint32_t others;
};
More more;
int64_t summed_at = 0;

bool wanted() { return extensions_are_on() && notifications() != Notifications::generic; }

/// Whether one more may be sent now; it is then counted as sent.
bool may_send() {
  const int64_t now = monotonic_ms();
  if (has_sent[oldest] && now - sent_at[oldest] < second) return false;
  sent_at[oldest] = now;
  has_sent[oldest] = true;
  oldest = (oldest + 1) % most_in_a_second;
  return true;
}

/// Sends what `fill` makes of a notification, or counts it in `untold`.
void tell(Kind kind, uint32_t &untold, FunctionRef<void(Notification &)> fill) {
  if (!wanted()) return;
  if (!may_send()) {
    ++untold;
    return;
  }
  Notification notification_(kind);
  fill(notification_);
  notification_.send();
}

void tell_sum() {
  if (more.joined + more.left + more.others == 0 || monotonic_ms() - summed_at < second / 2) return;
  Notification(summed)
      .with(more_joined, ASN_GAUGE, more.joined)
      .with(Carried{more_joined + 1}, ASN_GAUGE, more.left)
      .with(Carried{more_joined + 2}, ASN_GAUGE, more.others)
      .send();
  more = {};
  summed_at = monotonic_ms();
}

// Stations.

void tell_station(Kind kind, uint32_t &untold, const Snapshot &snapshot, const StationRecord &station) {
  tell(kind, untold, [&](Notification &told) {
    char name[8];
    snprintf(name, sizeof name, "ath%u", station.interface);
    told.with(mac, {station.mac.data(), station.mac.size()})
        .with(ssid, snapshot.interfaces[station.interface].ssid)
        .with(interface, name)
        .with(signal_strength, ASN_INTEGER, static_cast<uint32_t>(station.signal))
        .with(connected, ASN_TIMETICKS, ticks_since(station.found_at));
  });
}

void on_collection() {
  ++station_changes.collections;
  const Snapshot *before = previous_stations();
  if (before == nullptr) return;
  compare(
      *before, present_stations(),
      [](const Snapshot &snapshot, const StationRecord &station) {
        ++station_changes.left;
        tell_station(left, more.left, snapshot, station);
      },
      [](const Snapshot &snapshot, const StationRecord &station) {
        ++station_changes.joined;
        tell_station(joined, more.joined, snapshot, station);
      });
}

// Late commands. Any thread may have waited for one; the agent's tells.

pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
char late_program[64];
/// When the last one was late; 0 when none was since they are in time again.
int64_t late_at = 0;
bool told_late = false;

void on_late_command(const char *name) {
  const Lock lock(guard);
  if (late_at == 0) copy_text(late_program, name);
  late_at = monotonic_ms();
}

/// What is to be told of late commands now, if anything.
std::optional<Kind> late_news(char (&name)[sizeof late_program]) {
  constexpr int64_t in_time_after = 60 * second;
  const Lock lock(guard);
  copy_text(name, late_program);
  if (late_at == 0) return std::nullopt;
  if (!told_late) {
    told_late = true;
    return commands_late;
  }
  if (monotonic_ms() - late_at < in_time_after) return std::nullopt;
  late_at = 0;
  told_late = false;
  return commands_in_time;
}

void tell_late_commands() {
  char name[sizeof late_program];
  const auto news = late_news(name);
  if (!news) return;
  tell(*news, more.others, [&](Notification &told) {
    if (*news == commands_late) told.with(program, name);
    told.with(late_so_far, ASN_COUNTER, command_counters.late);
  });
}

// The guard.

/// The name of an object in the MIB file: wlan_ssid is wlanSsid there.
void write_descriptor(std::span<char> descriptor, const char *name) {
  size_t length = 0;
  for (bool capital = false; *name != '\0' && length + 1 < descriptor.size(); ++name) {
    if (*name == '_') {
      capital = true;
      continue;
    }
    const auto letter = static_cast<unsigned char>(*name);
    descriptor[length++] = static_cast<char>(capital ? toupper(letter) : letter);
    capital = false;
  }
  descriptor[length] = '\0';
}

void on_guard_refusal(const char *name) {
  char descriptor[64];
  write_descriptor(descriptor, name);
  tell(guard_refused, more.others, [&](Notification &told) { told.with(object, descriptor); });
}

void init_notifications() {
  after_collections(on_collection);
  tell_late_commands_to(on_late_command);
  tell_refusals_to(on_guard_refusal);
}

void deinit_notifications() {
  tell_late_commands_to(nullptr);
  tell_refusals_to(nullptr);
}

}  // namespace

void zol::tend_notifications() {
  tell_late_commands();
  if (wanted()) tell_sum();
}

bool zol::announces_by_traps() { return !extensions_are_on() || notifications() != Notifications::named; }

ZOL_REGISTER(zol_notifications, "zol_notifications", init_notifications, deinit_notifications, objects,
             std::size(objects))
