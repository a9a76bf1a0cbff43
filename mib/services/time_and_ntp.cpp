// The time zone, the NTP client and server, and the NTP servers that are asked.

#include <algorithm>
#include <cstring>
#include <string_view>

#include "core/scalar.hpp"
#include "mib/services/options.hpp"
#include "mib/services/services.hpp"

using namespace zol;
using namespace zol::services;

// The time zone, as a row of `gTimezone`.

namespace {

constexpr int32_t utc = -1;
constexpr auto zone_count = static_cast<int32_t>(std::size(gTimezone));

/// The text that begins at `offset` in row `zone`. One that fills its field runs on into the next row; it is meant so,
/// for a rule is written and recognised in that form.
std::string_view text_of(int32_t zone, size_t offset) {
  return reinterpret_cast<const char *>(gTimezone) + static_cast<size_t>(zone) * sizeof(Timezone) + offset;
}
std::string_view name_of(int32_t zone) { return text_of(zone, offsetof(Timezone, name)); }
std::string_view rule_of(int32_t zone) { return text_of(zone, offsetof(Timezone, rule)); }

bool contains(std::string_view text, const char *part) { return text.find(part) != std::string_view::npos; }

}  // namespace

/// The time zone (options timezone and zonename of the system) as a row, from 0, of the library's table of zones in the
/// order of their names. The first row that holds both texts is answered, and a missing option is held by every row: 0
/// without both. -1 stands for UTC, and is answered for a zone that no row holds. A SET of -1 deletes the zone's name.
ZOL_INTEGER(time_zone, .oid = {14, 2}, .accepts = range(utc, zone_count - 1));

int get_time_zone(int32_t *zone) {
  *zone = utc;
  CommandOutput output("uci show system.@system[0].timezone;uci show system.@system[0].zonename");
  if (!output) return -1;
  std::array<char, 128> rule{};
  std::array<char, 128> name{};
  while (output.next()) {
    const Value value(output.line());
    if (value.in_line_with(".timezone=")) {
      copy_text(rule, value.text());
    } else if (value.in_line_with(".zonename=")) {
      copy_text(name, value.text());
      break;
    }
  }
  // Parts of texts match, so an option that is missing matches every row.
  for (int32_t row = 0; row < zone_count; ++row) {
    if (contains(rule_of(row), rule.data()) && contains(name_of(row), name.data())) {
      *zone = row;
      break;
    }
  }
  return 0;
}

int set_time_zone(int32_t zone) {
  if (zone == utc) {
    shell("uci set system.@system[0].timezone='UTC';uci delete system.@system[0].zonename;uci commit system");
  } else if (0 <= zone && zone < zone_count) {
    shell("uci set system.@system[0].timezone='%-s';uci set system.@system[0].zonename='%-s';uci commit system",
          rule_of(zone).data(), name_of(zone).data());
  }
  return 0;
}

/// @held
/// @syntax ZolarcSwitch
/// Whether the device sets its clock by NTP. A SET enables and starts the client, or disables and stops it; a GET
/// answers what was set last, enabled at first.
ZOL_INTEGER(ntp_client, .oid = {14, 3}, .accepts = range(on, off), .initial = on);

// Nobody can be asked whether the client runs: what was set last is the answer.
int get_ntp_client(int32_t *) { return 0; }

int set_ntp_client(int32_t state) {
  constexpr Switch client{.turn_on = "/etc/init.d/sysntpd enable;/etc/init.d/sysntpd start",
                          .turn_off = "/etc/init.d/sysntpd disable;/etc/init.d/sysntpd stop"};
  client(state);
  ntp_client = state;
  return 0;
}

/// @syntax ZolarcSwitch
/// Whether the device serves the time to others (system.ntp.enable_server).
ZOL_INTEGER(provide_ntpserver, .oid = {14, 4}, .accepts = range(on, off), .initial = on);

int get_provide_ntpserver(int32_t *state) {
  return read_flag(CommandOutput("uci show system | grep \"system.ntp.enable_server\""), off, state);
}

int set_provide_ntpserver(int32_t state) { return store_switch("system.ntp.enable_server", state); }

/// @syntax ZolarcText (SIZE (0..256))
/// The NTP servers that are asked, separated by semicolons (system.ntp.server).
ZOL_TEXT(ntpserver_candidates, list_size, .oid = {14, 5}, .accepts = range(1, list_size - 1),
         .prepare = read_first<get_ntpserver_candidates, ntpserver_candidates>);

int get_ntpserver_candidates(char *servers) {
  const auto take = [servers](const Value &value) { take_list(value, servers); };
  return take_all(CommandOutput<256>("uci show system.ntp.server"), take, 2);
}

int set_ntpserver_candidates(const char *servers) {
  const auto separators = static_cast<unsigned>(std::ranges::count(servers, servers + strlen(servers), ';'));
  CommandLine line;
  line.append("uci set system.ntp.server=\"\";");
  // Each separator counts, but an empty field does not: behind an empty one the last server is added again. It is meant
  // so.
  std::array<char, list_size> server{};
  for (unsigned field = 0; field <= separators; ++field) {
    copy_field(server, servers, field, ';');
    line.append("uci add_list system.ntp.server=\"%s\";", server.data());
  }
  line.append("uci commit system");
  line.run();
  return 0;
}
