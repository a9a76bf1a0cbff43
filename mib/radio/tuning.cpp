// How the selected radio sends: channel, channel width, power, antennas, intervals, thresholds, ACK timeout.

#include <cstring>

#include "core/option.hpp"
#include "core/scalar.hpp"
#include "mib/radio/radio.hpp"

using namespace zol;

namespace {

/// Whose section an option stands in.
enum class Owner : uint8_t { radio, network };

OptionName name_of(Owner owner, int index, const char *option) {
  if (owner == Owner::radio) return OptionName("wireless.wifi%d.%s", index, option);
  return OptionName("wireless.@wifi-iface[%d].%s", index, option);
}

/// An option that holds a number.
struct NumberOption {
  Owner owner;
  const char *name;
  /// Tells the line of `uci show` that holds it.
  const char *marker;
  /// The answer without such a line, and without a number in it.
  int32_t preset = 0;
  /// The word that is written for 0, and passed over in reading; null where 0 is a number like any other.
  const char *zero = nullptr;
};

constexpr NumberOption channel{Owner::radio, "channel", ".channel=", 0, "auto"};
constexpr NumberOption beacon_period{Owner::radio, "bintval", "bintval="};
constexpr NumberOption rts_size{Owner::network, "rts", "rts="};
constexpr NumberOption short_guard{Owner::network, "shortgi", ".shortgi=", 1};
constexpr NumberOption chains{Owner::radio, "chainmask", "chainmask=", 3};
constexpr NumberOption distance{Owner::radio, "distance", "distance="};
constexpr NumberOption power{.owner = Owner::radio, .name = "txpower", .marker = nullptr, .zero = "max"};

/// Whether `value`, the text behind a marker, is the word for 0.
bool is_zero(const NumberOption &option, const char *value) {
  return option.zero != nullptr && strncmp(value, option.zero, strlen(option.zero)) == 0;
}

/// Reads an option of any interface, 0 when the command cannot be started. @return what get_X returns
int read_option(const NumberOption &option, int index, int32_t *number) {
  *number = 0;
  CommandOutput output("uci show %-s", name_of(option.owner, index, option.name).text());
  if (!output) return -1;
  *number = option.preset;
  while (const char *found = output.find(option.marker)) {
    if (is_zero(option, found + strlen(option.marker))) continue;
    *number = Value(output.line()).number(&Value::rest).value_or(option.preset);
    break;
  }
  return 0;
}

int number_of(const NumberOption &option, int index) {
  int32_t number = 0;
  read_option(option, index, &number);
  return number;
}

int store_option(const NumberOption &option, int32_t number) {
  const OptionName name = name_of(option.owner, wlan_index, option.name);
  return number == 0 && option.zero != nullptr ? store_word(name, option.zero) : store_number(name, number);
}

}  // namespace

/// An object that is the number in OPTION, and get_X_number, its reader for any interface; the further arguments are
/// the fields of `zol::IntegerSpec`.
#define RADIO_NUMBER(NAME, OPTION, ...)                                               \
  ZOL_INTEGER(NAME, __VA_ARGS__);                                                     \
  int get_##NAME##_number(int index) { return number_of(OPTION, index); }             \
  int get_##NAME(int32_t *number) { return read_option(OPTION, wlan_index, number); } \
  int set_##NAME(int32_t number) { return store_option(OPTION, number); }             \
  static_assert(true)

/// @syntax Integer32 (0..255)
/// The radio's channel number. 0 means that the radio chooses its channel itself, which can be read but not set here.
/// In force when the wireless network is reloaded.
RADIO_NUMBER(wlan_channel, channel, .oid = {3, 1, 6}, .accepts = range(1, 255));

/// @units milliseconds
/// The beacon interval (option bintval of the radio); 0 when it is not configured.
RADIO_NUMBER(wlan_binterval, beacon_period, .oid = {3, 1, 9}, .accepts = range(0, 65535));

/// @units bytes
/// The size from which on a frame is announced by RTS (option rts); 0 when it is not configured.
RADIO_NUMBER(wlan_rtsthreshold, rts_size, .oid = {3, 1, 10}, .accepts = range(0, 65535));

/// @syntax INTEGER { long(0), short(1) }
/// The guard interval of 802.11n: whether the short one is allowed (option shortgi, short when it is not configured).
RADIO_NUMBER(wlan_ginterval, short_guard, .oid = {3, 1, 13}, .accepts = range(0, 1));

/// @syntax INTEGER { unknown(0), first(1), second(2), both(3) }
/// Which antennas transmit, as a mask of chains (option chainmask); both when it is not configured, unknown(0) when the
/// configuration cannot be read.
RADIO_NUMBER(wlan_antenna, chains, .oid = {3, 1, 16}, .accepts = one_of(1, 3));

/// @units meters
/// @syntax Integer32 (0 | 300..24000)
/// The distance that the ACK timeout is set for (option distance of the radio); 0 when it is not configured.
RADIO_NUMBER(wlan_acktimeoutfixed, distance, .oid = {3, 1, 22}, .accepts = range(300, 24000));

/// @units dBm
/// The transmit power (option txpower); 0 stands for the most that the radio can do.
ZOL_INTEGER(wlan_txpower, .oid = {3, 1, 15}, .accepts = range(0, 26));

int get_wlan_txpower(int32_t *dbm) {
  *dbm = 0;
  return take_first(CommandOutput("uci show wireless.wifi%d.txpower", wlan_index), [dbm](const Value &value) {
    if (!value.in_line_with("=max")) *dbm = value.number(&Value::rest).value_or(0);
  });
}

int set_wlan_txpower(int32_t dbm) { return store_option(power, dbm); }

/// @syntax INTEGER { narrow20(20), wide40(40) }
/// The channel width in MHz (20 when option hwmode of the radio is 11ng20, else 40). A SET makes the mode 11ng20 or
/// 11ng, also of a radio for 5 GHz.
ZOL_INTEGER(chann_specwidth, .oid = {3, 1, 20}, .accepts = one_of(20, 40));

int get_chann_specwidth(int32_t *width) {
  *width = 40;
  CommandOutput output("uci show wireless | grep 'wifi%d.hwmode'", wlan_index);
  return take_found(std::move(output), ".hwmode=11", [width](const Value &value) {
    char mode[128] = "";
    scan_word(mode, text_after(value.line(), "="));
    // "11ng20" narrows the channel; "11ng" alone and the modes of other standards leave it wide.
    const char *number = text_after(mode, "11ng");
    if (number == mode + strlen("11ng") && strlen(mode) >= 6) *width = scan_int32(number).value_or(*width);
  });
}

int set_chann_specwidth(int32_t width) {
  return store_word(OptionName("wireless.wifi%d.hwmode", wlan_index), width == 20 ? "11ng20" : "11ng");
}

/// @syntax INTEGER { automatic(1), fixed(2) }
/// Whether the radio finds out the ACK timeout itself or derives it from wlanAcktimeoutfixed (option autoack).
ZOL_INTEGER(wlan_acktimeoutauto, .oid = {3, 1, 21}, .accepts = range(1, 2));

int get_wlan_acktimeoutauto(int32_t *timeout) {
  return read_flag(CommandOutput("uci show wireless.wifi%d.autoack", wlan_index), off, timeout, 0, &Value::rest);
}

int set_wlan_acktimeoutauto(int32_t timeout) {
  return store_number(OptionName("wireless.wifi%d.autoack", wlan_index), timeout == on ? 1 : 0);
}
