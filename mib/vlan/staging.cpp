// Editing VLANs in two moves: the staging objects hold a managed and a trunk VLAN, and the actions write them, both at
// once, or delete the sections that carry their ids. An id of 0 leaves its half out.

#include <array>
#include <cstring>

#include "core/command.hpp"
#include "core/option.hpp"
#include "core/scalar.hpp"
#include "mib/vlan/sections.hpp"
#include "mib/vlan/vlan.hpp"

using namespace zol;
using vlan::find_section;
using vlan::managed;
using vlan::trunk;

namespace {

constexpr size_t managed_flags_size = 67;
constexpr size_t trunk_flags_size = 66;
constexpr size_t description_size = 66;

/// What a GET of the two flag texts answers, apart from what is staged.
char managed_flags_shown[managed_flags_size];
char trunk_flags_shown[trunk_flags_size];

/// Reads an option of the section that carries the VLAN `id`, if there is one; an empty text when the section lacks it.
bool read_option(const vlan::Kind &kind, int32_t id, const char *option, std::span<char, 4096> text) {
  if (id == 0) return false;
  const vlan::Place place = find_section(kind, id);
  if (!place.found) return false;
  services_get_string(OptionName("%s.@vlan[%d].%s", kind.package, place.section, option), text.data());
  return true;
}

/// Answers the priority of the VLAN `id` as it is configured, or the one that is staged for it.
int read_priority(const vlan::Kind &kind, int32_t id, int32_t staged, int32_t *priority) {
  std::array<char, 4096> text{};
  *priority = read_option(kind, id, "priority", text) ? to_int32(text.data()) : staged;
  return 0;
}

/// The same for the bridge flags.
int read_flags(const vlan::Kind &kind, int32_t id, const char *staged, std::span<char> flags) {
  std::array<char, 4096> text{};
  if (read_option(kind, id, kind.flags, text)) {
    zol_replace_a_char(text.data(), ' ', ';');
    copy_text(flags, text.data());
  } else {
    copy_text(flags, staged);
  }
  return 0;
}

}  // namespace

#define ALL_FLAGS_BUT_THE_FIRST_CLEAR "1;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0"

// The managed VLAN.

/// @syntax Integer32 (0..4094)
/// Its VLAN id; 0 until it was set for the first time, which leaves the managed VLAN out of the actions.
ZOL_INTEGER(vlan_id, .oid = {22, 2, 1}, .accepts = range(1, 4094));
ZOL_STORED(vlan_id)

/// @syntax INTEGER { unset(0), used(1), unused(2) }
/// Whether it is in use; unset(0) leaves that to the configuration.
ZOL_INTEGER(vlan_managed, .oid = {22, 2, 2}, .accepts = range(0, 2));
ZOL_STORED(vlan_managed)

/// @held
/// Its priority (IEEE 802.1p). A GET answers that of the configured VLAN with the staged id, or what is staged when
/// there is none.
ZOL_INTEGER(vlan_priority, .oid = {22, 2, 3}, .accepts = range(0, 7), .staged = true);
int get_vlan_priority(int32_t *priority) { return read_priority(managed, vlan_id, vlan_priority, priority); }
int set_vlan_priority(int32_t) { return 0; }

/// @syntax INTEGER { unset(0), enabled(1), disabled(2) }
/// Whether the device gets its address in it by DHCP; unset(0) leaves that to the configuration.
ZOL_INTEGER(vlan_dhcpc, .oid = {22, 2, 4}, .accepts = range(0, 2));
ZOL_STORED(vlan_dhcpc)

/// The device's address in it.
ZOL_ADDRESS(vlan_ipaddr, .oid = {22, 2, 5});
ZOL_STORED(vlan_ipaddr)

/// The netmask in it.
ZOL_ADDRESS(vlan_netmask, .oid = {22, 2, 6});
ZOL_STORED(vlan_netmask)

/// @held
/// @syntax ZolarcText (SIZE (0..66))
/// The wireless interfaces that it is bridged to: 32 flags, 0 or 1, separated by semicolons. A GET answers those of the
/// configured VLAN with the staged id, or what is staged when there is none.
ZOL_TEXT_STARTING(vlan_wifibridge, managed_flags_size, ALL_FLAGS_BUT_THE_FIRST_CLEAR, .oid = {22, 2, 7},
                  .accepts = range(1, managed_flags_size - 1), .answer = managed_flags_shown);
char *vlan_wifibridge_ptr = vlan_wifibridge;
int get_vlan_wifibridge(char *flags) {
  return read_flags(managed, vlan_id, vlan_wifibridge_ptr, {flags, managed_flags_size});
}
int set_vlan_wifibridge(const char *) { return 0; }

/// @syntax INTEGER { unset(0), wireless(1), ethernet(2) }
/// On which side frames are tagged; unset(0) leaves that to the configuration.
ZOL_INTEGER(vlan_wifitagging, .oid = {22, 2, 8}, .accepts = range(0, 2));
ZOL_STORED(vlan_wifitagging)

/// @held
/// @syntax ZolarcText (SIZE (0..65))
/// A description of it.
ZOL_TEXT_STARTING(vlan_desc, description_size, "VLAN Network", .oid = {22, 2, 9},
                  .accepts = range(1, description_size - 1));
char *vlan_desc_ptr = vlan_desc;
int get_vlan_desc(char *description) {
  copy_text({description, description_size}, vlan_desc_ptr);
  return 0;
}
int set_vlan_desc(const char *) { return 0; }

// The trunk VLAN.

/// @syntax Integer32 (0..4094)
/// Its VLAN id; 0, as at first, leaves the trunk VLAN out of the actions.
ZOL_INTEGER(vlantrunk_id, .oid = {22, 3, 1}, .accepts = range(0, 4094));
ZOL_STORED(vlantrunk_id)

/// @held
/// Its priority, as vlanPriority.
ZOL_INTEGER(vlantrunk_priority, .oid = {22, 3, 2}, .accepts = range(0, 7), .staged = true);
int get_vlantrunk_priority(int32_t *priority) {
  return read_priority(trunk, vlantrunk_id, vlantrunk_priority, priority);
}
int set_vlantrunk_priority(int32_t) { return 0; }

/// @held
/// @syntax ZolarcText (SIZE (0..65))
/// The wireless interfaces that it is bridged to, as vlanWifibridge.
ZOL_TEXT_STARTING(vlantrunk_wifibridge, trunk_flags_size, ALL_FLAGS_BUT_THE_FIRST_CLEAR, .oid = {22, 3, 3},
                  .accepts = range(1, trunk_flags_size - 1), .answer = trunk_flags_shown);
char *vlantrunk_wifibridge_ptr = vlantrunk_wifibridge;
int get_vlantrunk_wifibridge(char *flags) {
  return read_flags(trunk, vlantrunk_id, vlantrunk_wifibridge_ptr, {flags, trunk_flags_size});
}
int set_vlantrunk_wifibridge(const char *) { return 0; }

namespace {

/// Writes the 32 flags anew, in batches. They stay uncommitted until the package is committed the next time; it is
/// meant so.
void rewrite_flags(const vlan::Kind &kind, int section, const char *staged) {
  constexpr size_t count = 32;
  constexpr size_t batch_size = 8;
  std::array<char, 2 * count> flags{};
  copy_text(flags, staged);
  zol_replace_a_char(flags.data(), ';', ' ');
  const size_t length = strlen(flags.data());
  shell("uci delete -q %-s.@vlan[%d].%-s", kind.package, section, kind.flags);
  CommandLine batch;
  for (size_t flag = 0; flag < count; ++flag) {
    const char value = 2 * flag < length ? flags[2 * flag] : '0';
    batch.append("%-suci add_list %-s.@vlan[%d].%-s=%c", batch.empty() ? "" : ";", kind.package, section, kind.flags,
                 value);
    // The first batch holds one flag, so the last one holds one less than the others.
    if (flag % batch_size == 0) {
      batch.run();
      batch.clear();
    }
  }
  batch.run();
}

/// Adds a section; it is expected to take the index at which the search for it ended.
void append_add(CommandLine &line, const vlan::Kind &kind, int section, int32_t id) {
  line.append("uci add %-s vlan;uci set %-s.@vlan[%d].vlanid=%d", kind.package, kind.package, section, id);
}

void write_managed() {
  const auto [found, section] = find_section(managed, vlan_id);
  CommandLine line;
  if (!found) append_add(line, managed, section, vlan_id);
  line.append("%-suci set vlan.@vlan[%d].desc=\"%s\"", line.empty() ? "" : ";", section, vlan_desc_ptr);
  line.append(";uci set vlan.@vlan[%d].bridge=\"All Others\"", section);
  if (vlan_dhcpc == 1) line.append(";uci set vlan.@vlan[%d].dhcpc=yes", section);
  if (vlan_dhcpc == 2) line.append(";uci set vlan.@vlan[%d].dhcpc=no", section);
  line.append(";uci set vlan.@vlan[%d].priority=%d", section, vlan_priority);
  if (vlan_wifitagging == 1) line.append(";uci set vlan.@vlan[%d].tagging=wifi", section);
  if (vlan_wifitagging == 2) line.append(";uci set vlan.@vlan[%d].tagging=ether", section);
  if (vlan_managed == 1) line.append(";uci set vlan.@vlan[%d].vlan_used=on", section);
  if (vlan_managed == 2) line.append(";uci set vlan.@vlan[%d].vlan_used=off", section);
  line.append(";uci set vlan.@vlan[%d].wifibridge0=\"ath0\"", section);
  line.append(";uci set vlan.@vlan[%d].ip=%s", section, DottedQuad(vlan_ipaddr).text());
  line.append(";uci set vlan.@vlan[%d].netmask=%s", section, DottedQuad(vlan_netmask).text());
  line.append(";uci commit vlan");
  line.run();
  rewrite_flags(managed, section, vlan_wifibridge_ptr);
}

void write_trunk() {
  const auto [found, section] = find_section(trunk, vlantrunk_id);
  if (!found) {
    CommandLine line;
    append_add(line, trunk, section, vlantrunk_id);
    line.run();
  }
  CommandLine line;
  line.append("uci set vlansw.@vlan[%d].vlanid=%d", section, vlantrunk_id);
  line.append(";uci set vlansw.@vlan[%d].wifibridge10=ath0", section);
  line.append(";uci set vlansw.@vlan[%d].priority=%d", section, vlantrunk_priority);
  line.append(";uci set vlansw.@vlan[%d].bridge=\"All Others\"", section);
  line.append(";uci commit vlansw");
  line.run();
  rewrite_flags(trunk, section, vlantrunk_wifibridge_ptr);
}

void delete_section(const vlan::Kind &kind, int32_t id) {
  const vlan::Place place = find_section(kind, id);
  if (!place.found) return;
  shell("uci delete %-s.@vlan[%d];uci commit %-s", kind.package, place.section, kind.package);
}

}  // namespace

// The actions: 1 acts, 0 and 2 do nothing.

/// @syntax INTEGER { idle(0), perform(1), nothing(2) }
/// Set to perform(1), the staged managed VLAN and the staged trunk VLAN are written to the configuration, each if its
/// id is not 0: the section with that id is changed, or one is added. A GET answers what was set last.
ZOL_INTEGER(vlan_addoredit, .oid = {22, 4}, .accepts = range(0, 2));

ZOL_HELD(vlan_addoredit)

int set_vlan_addoredit(int32_t value) {
  if (value != 1) return 0;
  if (vlan_id != 0) write_managed();
  if (vlantrunk_id != 0) write_trunk();
  return 0;
}

/// @syntax INTEGER { idle(0), perform(1), nothing(2) }
/// Set to perform(1), the sections that carry the staged ids are deleted. A GET answers what was set last.
ZOL_INTEGER(vlan_delete, .oid = {22, 5}, .accepts = range(0, 2));

ZOL_HELD(vlan_delete)

int set_vlan_delete(int32_t value) {
  if (value != 1) return 0;
  if (vlan_id != 0) delete_section(managed, vlan_id);
  if (vlantrunk_id != 0) delete_section(trunk, vlantrunk_id);
  return 0;
}
