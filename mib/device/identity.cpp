// Who the access point is and where it stands: host name, model, firmware version, coordinates.

#include "mib/device/device.hpp"

#include <cstring>

#include "core/command.hpp"
#include "core/enterprise.hpp"
#include "core/log.hpp"
#include "core/quoting.hpp"
#include "core/scalar.hpp"
#include "core/value_store.hpp"

using namespace zol;

namespace {

constexpr size_t name_size = 33;
constexpr const char *host_name_key = "0.3.1";

/// A line that holds no more than this is taken as no answer, and ends the reading.
constexpr size_t shortest_line = 6;

}  // namespace

/// @syntax ZolarcText (SIZE (0..32))
/// The host name (system.@system[0].hostname), which is also the sysName that the agent starts with
/// (snmpd.cfg10e48a.sysName; snmpd.@system[0].sysName with a uci that prints values in quotes).
ZOL_TEXT(ap_name, name_size, .oid = {2, 1}, .accepts = range(1, 32));

namespace {

/// What the device says of its host name.
enum class HostName {
  missing,
  /// Not what the answer holds of it: longer, of several lines, or with a "=" in it.
  cut,
  whole,
};

/// The text of the option in a line "system.cfg02e48a.hostname=text", or null in any other line. Some releases of uci
/// print the whole section when the option is missing.
const char *host_name_in(const char *line) {
  constexpr const char *option = ".hostname";
  const size_t length = strlen(option);
  const size_t key = strcspn(line, "=");
  if (line[key] == '\0' || key < length || strncmp(line + key - length, option, length) != 0) return nullptr;
  return line + key + 1;
}

/// Reads the name for a GET, and tells what it is. @return what get_X returns
int read_host_name(char *name, HostName &kind) {
  kind = HostName::missing;
  char stored[name_size] = "";
  read_value(host_name_key, stored);
  const std::span<char> value(name, name_size);
  if (*stored != '\0') copy_text(value, stored);
  CommandOutput output("uci show system.@system[0].hostname");
  if (!output) return -1;
  for (bool first = true; output.next_of_at_least(shortest_line); first = false) {
    copy_field(value, output.line(), 1, '=');
    const char *text = host_name_in(output.line());
    if (text != nullptr && *text != '\0') {
      kind = first && output.is_whole() && strcmp(text, name) == 0 ? HostName::whole : HostName::cut;
    } else if (kind == HostName::whole) {
      kind = HostName::cut;
    }
    // The store is on flash: it is written only when the name has changed.
    if (strcmp(name, stored) != 0) snmp_write2file(host_name_key, name);
    copy_text(stored, name);
  }
  // A line that is too short for a name is the rest of one.
  if (kind == HostName::whole && output.length_as_read() > 0) kind = HostName::cut;
  return 0;
}

}  // namespace

int get_ap_name(char *name) {
  HostName kind{};
  return read_host_name(name, kind);
}

void zol::apply_host_name() {
  static constinit Complaint unusable;
  char name[name_size] = "";
  HostName kind{};
  if (read_host_name(name, kind) != 0 || kind == HostName::missing) return;
  if (kind == HostName::cut || *name == '\'' || !is_plain(name, Quotes::doubled)) {
    unusable.raise("the host name \"%s\" is not applied again: it is too long, or the shell would read it otherwise",
                   name);
    return;
  }
  unusable.over();
  set_ap_name(name);
}

int set_ap_name(const char *name) {
  char stored[name_size] = "";
  read_value(host_name_key, stored);
  if (strcmp(name, stored) != 0) snmp_write2file(host_name_key, name);
  shell("uci set system.@system[0].hostname=\"%s\";uci commit system", name);
  shell("uci set snmpd.%-s.sysName=\"%s\";uci commit snmpd", agent_section(), name);
  return 0;
}

/// @syntax ZolarcText (SIZE (0..32))
/// The model, in upper case, from the name of the device's first LED.
ZOL_TEXT_WITHOUT_SET(ap_model, name_size, .oid = {2, 2}, .access = read_only);

int get_ap_model(char *model) {
  CommandOutput output("uci show system.led_sig1.sysfs");
  if (!output) return -1;
  while (output.next_of_at_least(shortest_line)) {
    // The model is told by the name of its LEDs: "<model>:<colour>:<function>".
    char led[128] = "";
    copy_field(led, output.line(), 1, '=');
    if (strchr(led, ':') != nullptr) {
      led[strcspn(led, ":")] = '\0';
      copy_text({model, name_size}, zol_strtoupper(led));
    } else {
      copy_text({model, name_size}, "ZOL QRB71");
    }
  }
  return 0;
}

/// @syntax ZolarcText (SIZE (0..32))
/// The firmware's description (DISTRIB_DESCRIPTION of /etc/openwrt_release).
ZOL_TEXT_WITHOUT_SET(fw_version, name_size, .oid = {2, 3}, .access = read_only);

int get_fw_version(char *version) {
  const std::span<char> value(version, name_size);
  copy_text(value, fw_version_without_description);
  CommandOutput output("cat /etc/openwrt_release | grep DISTRIB_DESCRIPTION");
  if (!output) return -1;
  while (output.next_of_at_least(shortest_line)) {
    char description[128] = "";
    if (!copy_field(description, output.line(), 1, '=')) continue;
    const char *text = description;
    if (*text == '"') {
      ++text;
      if (*text != '\0') description[strlen(description) - 1] = '\0';
    }
    copy_text(value, text);
  }
  return 0;
}

/// The longitude that a manager has noted for the device; only stored, and lost when the agent ends.
ZOL_INTEGER(stats_longtitude, .oid = {2, 11}, .accepts = range(-1000, 1000));
ZOL_STORED(stats_longtitude)

/// The latitude that a manager has noted for the device; only stored, and lost when the agent ends.
ZOL_INTEGER(stats_latitude, .oid = {2, 12}, .accepts = range(-1000, 1000));
ZOL_STORED(stats_latitude)
