// The bandwidth packages: the table of all (13.6) and the one that bwidthpkg_index selects (13.7).

#include <cstdio>
#include <cstring>

#include "core/command.hpp"
#include "core/log.hpp"
#include "core/quoting.hpp"
#include "core/scalar.hpp"
#include "core/static_table.hpp"
#include "mib/qos/qos.hpp"

using namespace zol;

namespace {

constexpr size_t list_size = 128;
constexpr const char *download = "download";
constexpr const char *upload = "upload";

const char *section_suffix(const char *direction) { return strcmp(direction, download) == 0 ? "_down" : ""; }

/// The name that a package is shown under.
const char *display_name(const char *name) { return strcmp(name, "Bulk") == 0 ? "Low" : name; }

/// Whether a command can ask for the package. Its name is the configuration's, and stands in the command without
/// quotes: one that the shell would read otherwise names no section.
bool has_usable_name(const char *name) {
  static constinit Complaint unusable;
  if (is_plain(name, Quotes::none)) {
    unusable.over();
    return true;
  }
  unusable.raise("the bandwidth package \"%s\" is passed over: no section can have this name", name);
  return false;
}

}  // namespace

int get_zol_package_list(char *dst) {
  const std::span list(dst, list_size);
  copy_text(list, "name1 name2");
  CommandOutput output("uci show qos.Default.classes");
  if (!output) return -1;
  if (const char *equals = output.find("=")) copy_text(list, equals + 1);
  return 0;
}

int get_bandwidth_package(const char *direction, const char *name, int32_t *out) {
  *out = 0;
  if (!has_usable_name(name)) return 0;
  CommandOutput output("uci show qos.%s%-s.avgrate", name, section_suffix(direction));
  if (!output) return -1;
  if (const char *equals = output.find("=")) *out = to_int32(equals + 1);
  return 0;
}

int set_bandwidth_package(const char *direction, const char *name, int32_t value) {
  if (!has_usable_name(name)) return 0;
  shell("uci set qos.%s%-s.avgrate=%d;uci commit qos", name, section_suffix(direction), value);
  return 0;
}

// The table. Four rows answer once the first cell was asked for; of the fifth only the records exist.

namespace {

constexpr uint8_t registered_rows = 5;
int32_t live_rows = 0;
char table_list[list_size];
char table_name[list_size];

void refresh_table() {
  get_zol_package_list(table_list);
  live_rows = 4;
}

/// The package of a row. A row without a package of its own repeats the one last asked for; it is meant so.
const char *row_name(Cell cell) {
  copy_field(table_name, table_list, static_cast<unsigned>(cell.row - 1), ' ');
  return table_name;
}

int32_t row_rate(Cell cell, const char *direction) {
  int32_t rate = 0;
  get_bandwidth_package(direction, row_name(cell), &rate);
  return rate;
}

constexpr Column columns[] = {
    /// @syntax Integer32 (1..5)
    /// The row's number.
    integer_column(1, 1, "bandwidth_package_index", [](Cell cell) { return cell.row; }),
    /// @syntax ZolarcText (SIZE (0..127))
    /// The package's name; 'Low' stands for Bulk.
    octets_column(2, 2, "bandwidth_package_name", [](Cell cell) { return text_answer(display_name(row_name(cell))); }),
    /// @units percent
    /// The share of the bandwidth for reception that the package is worth.
    integer_column(3, 3, "bandwidth_package_download", [](Cell cell) { return row_rate(cell, download); }),
    /// @units percent
    /// The share of the bandwidth for sending that the package is worth.
    integer_column(4, 4, "bandwidth_package_upload", [](Cell cell) { return row_rate(cell, upload); }),
};

}  // namespace

/// @table bandwidthPackageTable
/// The bandwidth packages. Four rows are answered, once the first cell was read.
ZOL_TABLE(
    bandwidth_package, var_bandwidth_package, registered_rows, columns, .entry = {13, 6, 1}, .refresh = refresh_table,
    .live_rows = [] { return live_rows; });

/// Selects the package, a row of bandwidthPackageTable. Only stored.
ZOL_INTEGER(bwidthpkg_index, .oid = {13, 7, 1, 1}, .accepts = range(1, 4), .initial = 1);
ZOL_STORED(bwidthpkg_index)

namespace {

/// The name of the package that was selected when it was last asked for.
char last_name[list_size];

/// The selected package's name; the one selected before when the list has no such package.
const char *selected_name() {
  char list[list_size];
  get_zol_package_list(list);
  copy_field(last_name, list, static_cast<unsigned>(bwidthpkg_index) - 1, ' ');
  return last_name;
}

/// The agent has asked for the object before it checks a SET of it.
bool can_be_changed() { return has_usable_name(last_name); }

}  // namespace

// Registered read-write without a write method: the agent refuses a SET.
/// @syntax ZolarcText (SIZE (0..127))
/// The package's name; 'Low' stands for Bulk. The agent refuses a SET.
ZOL_TEXT_WITHOUT_SET(bwidthpkg_name, list_size, .oid = {13, 7, 1, 2});

int get_bwidthpkg_name(char *name) {
  copy_text({name, list_size}, display_name(selected_name()));
  return 0;
}

/// @units percent
/// The share of the bandwidth for reception that the package is worth (avgrate of its section with _down).
ZOL_INTEGER(bwidthpkg_download, .oid = {13, 7, 1, 3}, .accepts = range(0, 65535), .settable = can_be_changed);
int get_bwidthpkg_download(int32_t *rate) { return get_bandwidth_package(download, selected_name(), rate); }
int set_bwidthpkg_download(int32_t rate) { return set_bandwidth_package(download, selected_name(), rate); }

/// @units percent
/// The share of the bandwidth for sending that the package is worth (avgrate of its section).
ZOL_INTEGER(bwidthpkg_upload, .oid = {13, 7, 1, 4}, .accepts = range(0, 65535), .settable = can_be_changed);
int get_bwidthpkg_upload(int32_t *rate) { return get_bandwidth_package(upload, selected_name(), rate); }
int set_bwidthpkg_upload(int32_t rate) { return set_bandwidth_package(upload, selected_name(), rate); }
