// The write methods of the status module. They come in three shapes, one per type; a setter is its shape with what it
// accepts and what it does.

#include <algorithm>
#include <array>
#include <cstring>

#include "core/address.hpp"
#include "core/option.hpp"
#include "core/text.hpp"
#include "mib/radio/radio.hpp"
#include "mib/status/status.hpp"

using namespace zol;

namespace {

struct IntegerSetter {
  int write(int action, const unsigned char *value, unsigned char type, size_t length) {
    switch (action) {
      case phase::reserve1:
        if (const int refusal = check_integer(type, length)) return refusal;
        requested = integer_at(value, length);
        return accepts(requested) ? SNMP_ERR_NOERROR : SNMP_ERR_WRONGVALUE;
      case phase::action:
        if (stored != nullptr) {
          before = *stored;
          *stored = requested;
        }
        if (apply != nullptr) apply(requested);
        break;
      case phase::undo:
        if (stored != nullptr) *stored = before;
        break;
      default:
        break;
    }
    return SNMP_ERR_NOERROR;
  }

  Accepts accepts;
  /// The value that UNDO restores, or null.
  int32_t *stored = nullptr;
  void (*apply)(int32_t value) = nullptr;
  int32_t requested = 0;
  int32_t before = 0;
};

/// The length is not checked: the agent drops a request in which an address has not four octets.
struct AddressSetter {
  int write(int action, const unsigned char *value, unsigned char type, size_t) const {
    if (action == phase::reserve1 && type != ASN_IPADDRESS) return SNMP_ERR_WRONGTYPE;
    if (action == phase::action) apply(address_at(value));
    return SNMP_ERR_NOERROR;
  }

  void (*apply)(Ipv4 address);
};

struct TextSetter {
  static constexpr size_t longest = 100;
  using Text = std::array<char, longest + 1>;

  int write(int action, const unsigned char *value, unsigned char type, size_t length) const {
    if (action == phase::reserve1) {
      if (type != ASN_OCTET_STR) return SNMP_ERR_WRONGTYPE;
      if (length > most) return SNMP_ERR_WRONGLENGTH;
      if (is_well_formed != nullptr && !is_well_formed(text_of(value, length).data())) return SNMP_ERR_WRONGVALUE;
    }
    if (action == phase::action) apply(text_of(value, length).data());
    return SNMP_ERR_NOERROR;
  }

  static Text text_of(const unsigned char *value, size_t length) {
    Text text{};
    std::copy_n(value, std::min(length, longest), text.begin());
    return text;
  }

  size_t most;
  void (*apply)(char *text);
  bool (*is_well_formed)(const char *text) = nullptr;
};

/// No lower bound: negative numbers pass; it is meant so.
constexpr Accepts at_most(int32_t high) { return range(INT32_MIN, high); }

void reboot_if(int32_t asked) {
  if (asked == 1) shell("reboot");
}

void set_channel(int radio, int32_t channel) {
  const OptionName option("wireless.wifi%d.channel", radio);
  channel == 0 ? store_word(option, "auto") : store_number(option, channel);
}

/// Whether a second `separator` follows the first.
bool holds_two(const char *text, char separator) {
  const char *first = strchr(text, separator);
  return first != nullptr && strchr(first + 1, separator) != nullptr;
}

bool is_time(const char *text) { return holds_two(text, '/') && holds_two(text, ':'); }

/// `date` takes a date with dashes.
void set_clock(char *text) {
  zol_replace_a_char(text, '/', '-');
  shell("date --set='%s'", text);
}

}  // namespace

#define STATUS_SETTER(NAME, SHAPE, ...)                                                                         \
  namespace {                                                                                                   \
  constinit SHAPE NAME##_setter{__VA_ARGS__};                                                                   \
  }                                                                                                             \
  int write_##NAME(int action, unsigned char *value, unsigned char type, size_t length, unsigned char *, oid *, \
                   size_t) {                                                                                    \
    return NAME##_setter.write(action, value, type, length);                                                    \
  }

STATUS_SETTER(reboot_device, IntegerSetter, reboot_device_accepts, &reboot_device, reboot_if)
STATUS_SETTER(snmp_status, IntegerSetter, at_most(1), &snmp_status)
STATUS_SETTER(snmp_trap, IntegerSetter, at_most(1), &snmp_trap)

STATUS_SETTER(channel, IntegerSetter, at_most(165), nullptr, [](int32_t channel) { set_channel(0, channel); })
STATUS_SETTER(channel2, IntegerSetter, at_most(165), nullptr, [](int32_t channel) { set_channel(1, channel); })
STATUS_SETTER(operation_mode, IntegerSetter, range(0, 4), nullptr, [](int32_t mode) { set_operation_mode(mode, 0); })
STATUS_SETTER(operation2_mode, IntegerSetter, range(0, 4), nullptr, [](int32_t mode) { set_operation_mode(mode, 1); })

STATUS_SETTER(lan_ip, AddressSetter, [](Ipv4 address) { store_address("network.lan.ipaddr", address); })
STATUS_SETTER(netmask_ip, AddressSetter, [](Ipv4 address) { store_address("network.lan.netmask", address); })
STATUS_SETTER(gateway_ip, AddressSetter, [](Ipv4 address) { store_address("network.lan.gateway", address); })
STATUS_SETTER(wan_ip, AddressSetter, [](Ipv4 address) { store_address("network.wan.ipaddr", address); })
STATUS_SETTER(netmask2_ip, AddressSetter, [](Ipv4 address) { store_address("network.wan.netmask", address); })
STATUS_SETTER(gateway2_ip, AddressSetter, [](Ipv4 address) { store_address("network.wan.gateway", address); })

// Each of these keeps the other server: `dns2` is the one behind a new first, `dns1` the one before a new second. When
// the other one cannot be read, nothing is run and so nothing lost.
STATUS_SETTER(pri_dns, AddressSetter, [](Ipv4 address) {
  Ipv4 second = 0;
  if (get_lan_ip_address("br-lan", "dns2", &second) != 0) return;
  second == 0 ? store_address("network.lan.dns", address) : store_addresses("network.lan.dns", address, second);
})
STATUS_SETTER(sec_dns, AddressSetter, [](Ipv4 address) {
  Ipv4 first = 0;
  if (get_lan_ip_address("br-lan", "dns1", &first) != 0) return;
  first == 0 ? store_address("network.lan.dns", address) : store_addresses("network.lan.dns", first, address);
})

STATUS_SETTER(ssid, TextSetter, 100, [](char *ssid) { store_text("wireless.@wifi-iface[0].ssid", ssid); })
STATUS_SETTER(ssid2_name, TextSetter, 100, [](char *ssid) { store_text("wireless.@wifi-iface[1].ssid", ssid); })
STATUS_SETTER(current_time, TextSetter, 19, set_clock, is_time)
