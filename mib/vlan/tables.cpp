// The VLANs as they are configured: the managed ones (23.1) and the trunk ones (24.1).

#include <array>
#include <cstring>

#include "core/command.hpp"
#include "core/static_table.hpp"
#include "core/text.hpp"

using namespace zol;

namespace {

constexpr uint8_t rows = 32;
constexpr size_t line_size = 80;
using Line = std::array<char, line_size>;

/// Reads an option of a VLAN's section; false, and an empty text, when it is not there.
bool read_cell(Line &text, const char *package, int section, const char *option) {
  text[0] = '\0';
  CommandOutput<line_size> output("uci get -q %-s.@vlan[%d].%-s", package, section, option);
  if (!output.next()) return false;
  copy_text(text, output.line());
  return true;
}

/// Reads a list option as a text with ";" between the items. Without the option `text` keeps what it held.
Octets read_list(std::span<char> text, const char *package, int section, const char *option) {
  Line line;
  if (read_cell(line, package, section, option)) {
    zol_replace_a_char(line.data(), ' ', ';');
    copy_text(text, line.data());
  }
  return text_answer(text.data());
}

}  // namespace

extern "C" {
/// The cells last read. The texts and the numbers of a row that lacks an option answer what was read before; it is
/// meant so.
ZOL_EXPORT int32_t vlanmgt_vlanid = 0;
ZOL_EXPORT Ipv4 vlanmgt_ipaddr = 0;
ZOL_EXPORT char vlanmgt_wifibridge[line_size] = "";
ZOL_EXPORT char vlanmgt_desc[line_size] = "";
ZOL_EXPORT int32_t vlantrunk_vlanid = 0;
ZOL_EXPORT char vlantrunk_wifibrg[line_size] = "";
}

namespace {

/// Row r is section r here, so the first section, which holds the device's own network, is never listed; it is meant
/// so.
int managed_section(Cell cell) { return cell.row; }
int trunk_section(Cell cell) { return cell.row - 1; }

int32_t managed_rows = 0;
int32_t trunk_rows = 0;

bool select_row(const char *package, int section, int32_t &id) {
  Line text;
  if (!read_cell(text, package, section, "vlanid")) return false;
  id = to_int32(text.data());
  return true;
}

/// What columns 2, 3, 4, 6 and 8 answer: one number for all of them, which a missing option leaves as it was.
uint32_t managed_number = 0;

/// Reads an option into `kept`, which a missing option leaves as it was.
template <class Kept>
Kept read_kept(Kept &kept, const char *package, int section, const char *option, Kept (*encode)(const char *)) {
  Line text;
  if (read_cell(text, package, section, option)) kept = encode(text.data());
  return kept;
}

uint32_t read_managed(Cell cell, const char *option, uint32_t (*encode)(const char *)) {
  return read_kept(managed_number, "vlan", managed_section(cell), option, encode);
}

int32_t read_managed_integer(Cell cell, const char *option, uint32_t (*encode)(const char *)) {
  return static_cast<int32_t>(read_managed(cell, option, encode));
}

uint32_t encode_number(const char *text) { return static_cast<uint32_t>(to_int32(text)); }
uint32_t encode_used(const char *text) { return strcmp(text, "on") == 0 ? 1 : 2; }
uint32_t encode_dhcpc(const char *text) { return strcmp(text, "no") == 0 ? 2 : 1; }
uint32_t encode_tagging(const char *text) { return strcmp(text, "wifi") == 0 ? 1 : 2; }

Octets read_description(Cell cell) {
  Line text;
  if (read_cell(text, "vlan", managed_section(cell), "desc")) copy_text(vlanmgt_desc, text.data());
  return text_answer(vlanmgt_desc);
}

int32_t trunk_priority = 0;

constexpr Column managed_columns[] = {
    /// The VLAN id.
    integer_column(1, 1, "vlanmgt_vlanid", [](Cell) { return vlanmgt_vlanid; }),
    /// Whether it is in use: 1 yes, 2 no.
    integer_column(2, 2, "vlanmgt_managed",
                   [](Cell cell) { return read_managed_integer(cell, "vlan_used", encode_used); }),
    /// Its priority (IEEE 802.1p).
    integer_column(3, 3, "vlanmgt_priority",
                   [](Cell cell) { return read_managed_integer(cell, "priority", encode_number); }),
    /// Whether the device gets its address in it by DHCP: 1 yes, 2 no.
    integer_column(4, 4, "vlanmgt_dhcpc", [](Cell cell) { return read_managed_integer(cell, "dhcpc", encode_dhcpc); }),
    /// The device's address in it.
    address_column(
        5, 5, "vlanmgt_ipaddr",
        [](Cell cell) { return read_kept(vlanmgt_ipaddr, "vlan", managed_section(cell), "ip", strict_ipv4); }),
    /// The netmask in it.
    address_column(6, 6, "vlanmgt_netmask", [](Cell cell) { return read_managed(cell, "netmask", strict_ipv4); }),
    /// @syntax ZolarcText (SIZE (0..79))
    /// The wireless interfaces that it is bridged to, as vlanWifibridge.
    octets_column(7, 7, "vlanmgt_wifibridge",
                  [](Cell cell) { return read_list(vlanmgt_wifibridge, "vlan", managed_section(cell), "wifibridge"); }),
    /// On which side frames are tagged: 1 wireless, 2 Ethernet.
    integer_column(8, 8, "vlanmgt_wifitagging",
                   [](Cell cell) { return read_managed_integer(cell, "tagging", encode_tagging); }),
    /// @syntax ZolarcText (SIZE (0..79))
    /// A description of it.
    octets_column(9, 9, "vlanmgt_desc", read_description),
};

constexpr Column trunk_columns[] = {
    /// The VLAN id.
    integer_column(1, 1, "vlantrunk_vlanid", [](Cell) { return vlantrunk_vlanid; }),
    /// Its priority (IEEE 802.1p).
    integer_column(
        2, 2, "vlantrunk_table_priority",
        [](Cell cell) { return read_kept(trunk_priority, "vlansw", trunk_section(cell), "priority", to_int32); }),
    /// @syntax ZolarcText (SIZE (0..79))
    /// The wireless interfaces that it is bridged to, as vlantrunkWifibridge.
    octets_column(3, 3, "vlantrunk_wifibrg",
                  [](Cell cell) { return read_list(vlantrunk_wifibrg, "vlansw", trunk_section(cell), "wifibridge1"); }),
};

}  // namespace

// No row answers before the first cell was asked for once, as a walk does.

/// @table vlanmgtTable
/// The managed VLANs as they are configured. Row N is section N of the configuration: section 0, which holds the
/// device's own network, is not listed. Rows are answered once the first cell was read, as a walk does. A row that
/// lacks an option repeats what was read before.
ZOL_TABLE(
    vlanmgt_table, var_vlanmgt_table, rows, managed_columns, .entry = {23, 1}, .refresh = [] { managed_rows = rows; },
    .live_rows = [] { return managed_rows; },
    .select = [](Cell cell) { return select_row("vlan", managed_section(cell), vlanmgt_vlanid); });

/// @table vlantrunkTable
/// The trunk VLANs as they are configured. Row N is section N - 1 of the configuration. Rows are answered once the
/// first cell was read, as a walk does.
ZOL_TABLE(
    vlantrunk_table, var_vlantrunk_table, rows, trunk_columns, .entry = {24, 1}, .refresh = [] { trunk_rows = rows; },
    .live_rows = [] { return trunk_rows; },
    .select = [](Cell cell) { return select_row("vlansw", trunk_section(cell), vlantrunk_vlanid); });
