// The write methods of the status module.

#include <algorithm>
#include <cstring>

#include "core/option.hpp"
#include "core/set_phases.hpp"
#include "core/text.hpp"
#include "mib/radio/radio.hpp"
#include "mib/status/status.hpp"

using namespace zol;

namespace {

// What is accepted of a number has no lower bound: negative ones pass; it is meant so.
constexpr Accepts up_to_one = range(INT32_MIN, 1);
constexpr Accepts channels = range(INT32_MIN, 165);
constexpr Accepts modes = range(0, 4);
constexpr size_t longest_text = 100;
constexpr Accepts text_lengths = range(0, longest_text);

// What nothing answers is kept here and nowhere looked at.
int32_t unused_number;
Ipv4 unused_address;
char unused_text[longest_text + 1];

int reboot_if(int32_t asked) {
  if (asked == 1) shell("reboot");
  return 0;
}

int set_channel(int radio, int32_t channel) {
  const OptionName option("wireless.wifi%d.channel", radio);
  return channel == 0 ? store_word(option, "auto") : store_number(option, channel);
}

// Each of these keeps the other server: `dns2` is the one behind a new first, `dns1` the one before a new second. When
// the other one cannot be read, nothing is run and so nothing lost.

int set_first_dns(Ipv4 first) {
  Ipv4 second = 0;
  if (get_lan_ip_address("br-lan", "dns2", &second) != 0) return -1;
  return second == 0 ? store_address("network.lan.dns", first) : store_addresses("network.lan.dns", first, second);
}

int set_second_dns(Ipv4 second) {
  Ipv4 first = 0;
  if (get_lan_ip_address("br-lan", "dns1", &first) != 0) return -1;
  return first == 0 ? store_address("network.lan.dns", second) : store_addresses("network.lan.dns", first, second);
}

/// Whether a second `separator` follows the first.
bool holds_two(const char *text, char separator) {
  const char *first = strchr(text, separator);
  return first != nullptr && strchr(first + 1, separator) != nullptr;
}

constexpr size_t longest_time = sizeof "YYYY/MM/DD hh:mm:ss" - 1;

int check_time(const unsigned char *bytes, size_t length) {
  if (length > longest_time) return SNMP_ERR_WRONGLENGTH;
  char time[longest_time + 1] = "";
  std::copy_n(bytes, length, time);
  return holds_two(time, '/') && holds_two(time, ':') ? SNMP_ERR_NOERROR : SNMP_ERR_WRONGVALUE;
}

/// `date` takes a date with dashes.
int set_clock(const char *time) {
  char date[sizeof unused_text];
  copy_text(date, time);
  zol_replace_a_char(date, '/', '-');
  shell("date --set='%s'", date);
  return 0;
}

}  // namespace

// A setter: its shape, and the arguments of that.
#define STATUS_SETTER(NAME, SHAPE, ...)                                                                        \
  namespace {                                                                                                  \
  constinit SHAPE NAME##_setter(#NAME, __VA_ARGS__);                                                           \
  }                                                                                                            \
  int write_##NAME(int phase, unsigned char *bytes, unsigned char type, size_t length, unsigned char *, oid *, \
                   size_t) {                                                                                   \
    return NAME##_setter.write(phase, bytes, type, length);                                                    \
  }

STATUS_SETTER(reboot_device, IntegerSetter, reboot_device_accepts, &reboot_device, reboot_if)
STATUS_SETTER(snmp_status, IntegerSetter, up_to_one, &snmp_status, [](int32_t) { return 0; })
STATUS_SETTER(snmp_trap, IntegerSetter, up_to_one, &snmp_trap, [](int32_t) { return 0; })

STATUS_SETTER(channel, IntegerSetter, channels, &unused_number, [](int32_t channel) { return set_channel(0, channel); })
STATUS_SETTER(channel2, IntegerSetter, channels, &unused_number,
              [](int32_t channel) { return set_channel(1, channel); })
STATUS_SETTER(operation_mode, IntegerSetter, modes, &unused_number,
              [](int32_t mode) { return set_operation_mode(mode, 0); })
STATUS_SETTER(operation2_mode, IntegerSetter, modes, &unused_number,
              [](int32_t mode) { return set_operation_mode(mode, 1); })

// The length of an address is not checked: the agent drops a request in which it has not four octets.
#define STATUS_ADDRESS(NAME, OPTION) \
  STATUS_SETTER(                     \
      NAME, AddressSetter, &unused_address, [](Ipv4 address) { return store_address(OPTION, address); }, false)

STATUS_ADDRESS(lan_ip, "network.lan.ipaddr")
STATUS_ADDRESS(netmask_ip, "network.lan.netmask")
STATUS_ADDRESS(gateway_ip, "network.lan.gateway")
STATUS_ADDRESS(wan_ip, "network.wan.ipaddr")
STATUS_ADDRESS(netmask2_ip, "network.wan.netmask")
STATUS_ADDRESS(gateway2_ip, "network.wan.gateway")
STATUS_SETTER(pri_dns, AddressSetter, &unused_address, set_first_dns, false)
STATUS_SETTER(sec_dns, AddressSetter, &unused_address, set_second_dns, false)

STATUS_SETTER(ssid, TextSetter, text_lengths, unused_text, {},
              [](const char *ssid) { return store_text("wireless.@wifi-iface[0].ssid", ssid); })
STATUS_SETTER(ssid2_name, TextSetter, text_lengths, unused_text, {},
              [](const char *ssid) { return store_text("wireless.@wifi-iface[1].ssid", ssid); })
STATUS_SETTER(current_time, TextSetter, text_lengths, unused_text, {}, set_clock, check_time)
