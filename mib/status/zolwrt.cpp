// The module `zolwrt`: its objects, its values and their tokens.

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

#include "core/address.hpp"
#include "core/clock.hpp"
#include "core/scalar_group.hpp"
#include "core/static_table.hpp"
#include "core/text.hpp"
#include "mib/status/status.hpp"

using namespace zol;

uint32_t zol_rx_bytes = 0;
uint32_t zol_tx_bytes = 0;
float eth1_rx_rate = 0;
float eth1_tx_rate = 0;
float eth2_rx_rate = 0;
float eth2_tx_rate = 0;

namespace {

/// A text of the module and what it says before it was read.
struct Text {
  std::span<char> value;
  const char *start;
};
// The two per cent signs of the load are meant so.
constexpr Text texts[] = {
    {cpu_percent_used, "0.0%%"},     {cpu_percent_free, "0.0%%"},           {ld_version, "3.3.8"},
    {uptimes, "n Days hh:mm:ss"},    {current_time, "YYYY/MM/DD hh:mm:ss"}, {conn_rssi, "RSSI"},
    {conn_sta_chann, "STA_CHANNEL"},
};

/// Stores a token's value. Unlike elsewhere a text that just fits is kept whole; only a longer one is cut to end in
/// "...".
void preset(std::span<char> text, const char *value) {
  if (strlen(value) < text.size()) {
    copy_text(text, value);
  } else {
    preset_text(text.data(), text.size() - 1, value);
  }
}

}  // namespace

#define STATUS_TOKEN_TEXT(NAME)                                                       \
  extern "C" {                                                                        \
  ZOL_EXPORT void zolwrt_parse_config_##NAME(const char *token, char *value);         \
  ZOL_EXPORT void zolwrt_free_config_##NAME(void);                                    \
  }                                                                                   \
  decltype(NAME) NAME;                                                                \
  void zolwrt_parse_config_##NAME(const char *, char *value) { preset(NAME, value); } \
  void zolwrt_free_config_##NAME(void) {}                                             \
  ZOL_REGISTER_TOKEN(zolwrt, NAME, zolwrt_parse_config_##NAME, zolwrt_free_config_##NAME)

ZOL_TOKEN_INTEGER(zolwrt, reboot_device, int32_t)
ZOL_TOKEN_INTEGER(zolwrt, snmp_status, int32_t)
ZOL_TOKEN_INTEGER(zolwrt, snmp_trap, int32_t)
ZOL_TOKEN_INTEGER(zolwrt, assoc_counter, int32_t)
STATUS_TOKEN_TEXT(cpu_percent_used)
STATUS_TOKEN_TEXT(cpu_percent_free)
STATUS_TOKEN_TEXT(ld_version)
STATUS_TOKEN_TEXT(conn_rssi)
STATUS_TOKEN_TEXT(conn_sta_chann)
STATUS_TOKEN_TEXT(uptimes)
STATUS_TOKEN_TEXT(current_time)
ZOL_TOKEN_INTEGER(zolwrt, beacon_interval, int32_t)
ZOL_TOKEN_INTEGER(zolwrt, rts_threshold, int32_t)
ZOL_TOKEN_INTEGER(zolwrt, frag_threshold, int32_t)
ZOL_TOKEN_INTEGER(zolwrt, if_signal, int32_t)
ZOL_TOKEN_INTEGER(zolwrt, if_noise, int32_t)
ZOL_TOKEN_INTEGER(zolwrt, if_quality, int32_t)
ZOL_TOKEN_INTEGER(zolwrt, if_txccq, int32_t)
ZOL_TOKEN_INTEGER(zolwrt, conn_tx_rate, int32_t)
ZOL_TOKEN_INTEGER(zolwrt, conn_rx_rate, int32_t)

namespace {

// The readers. Each asks the device at every GET.

enum class Share : uint8_t { used, free };

Octets read_load(Share share, std::span<char> text) {
  float busy = 0;
  float idle = 0;
  if (zol_get_cpu_info(&busy, &idle) == 0) {
    // The format holds no per cent sign, on purpose: it is put in afterwards.
    snprintf(text.data(), text.size(), "%.1f?", static_cast<double>(share == Share::used ? busy : idle));
    zol_replace_a_char(text.data(), '?', '%');
  }
  return text_answer(text.data());
}

Octets read_release() {
  zol_get_ld_version(ld_version);
  return text_answer(ld_version);
}

Octets read_uptime() {
  getTimeString(static_cast<int32_t>(getSysUptime()), uptimes, sizeof uptimes);
  return text_answer(uptimes);
}

Octets read_clock() {
  zoel_print_time(current_time);
  return text_answer(current_time);
}

Ipv4 read_address(const char *section, const char *key) {
  constexpr Ipv4 when_unknown = 0x7f000001;
  Ipv4 address = 0;
  return get_lan_ip_address(section, key, &address) == 0 ? address : when_unknown;
}

Octets read_link_time(const char *interface) {
  const char *link_time = get_port_link_time(interface);
  // Without the kernel's messages no link is known of.
  return text_answer(link_time != nullptr ? link_time : "0 Days 00:00:00");
}

Octets read_mac(const char *interface) {
  static MacOctets octets;
  char *text = nullptr;
  if (get_mac_address(interface, &text) == 0) {
    octets = mac_octets(text);
    free(text);
  } else {
    octets.fill(0);
  }
  return {octets.data(), mac_length};
}

/// What `zol_get_statistics_transmit_bytes` is asked for.
enum class Counter : uint8_t { bytes = 0, errors = 1 };
using enum Counter;

int32_t received(const char *interface, Counter what) {
  zol_get_statistics_transmit_bytes(interface, "RX bytes:", static_cast<int32_t>(what), &zol_rx_bytes);
  return static_cast<int32_t>(zol_rx_bytes);
}

int32_t transmitted(const char *interface, Counter what) {
  zol_get_statistics_transmit_bytes(interface, "TX bytes:", static_cast<int32_t>(what), &zol_tx_bytes);
  return static_cast<int32_t>(zol_tx_bytes);
}

/// Truncated towards zero. A rate stays far below 2^31: it is a 32-bit number of bits per 1024 and second.
/// A rate that the sampling threads write at any time.
int32_t whole(float &rate) { return static_cast<int32_t>(std::atomic_ref(rate).load(std::memory_order_relaxed)); }

// The addresses and the clock are registered read-only and hand out their setters all the same: whether a SET reaches
// those is the agent's rule.
constexpr GroupedObject objects[] = {
    /// @held
    /// Set to 1, the device reboots at once (reboot). Every other value that is accepted does nothing. A GET answers
    /// what was set last, 0 at first.
    grouped_setting(
        {1, 1}, 21, "reboot_device", [] { return reboot_device; }, handed_out<write_reboot_device>(),
        reboot_device_accepts),
    /// @syntax ZolarcText (SIZE (0..19))
    /// The kernel's release (uname -a).
    grouped_text({2, 4}, 31, "ld_version", read_release),
    /// @syntax ZolarcText (SIZE (0..19))
    /// The time since the device was started, for example '3 Days 04:05:06'.
    grouped_text({2, 5}, 32, "uptimes", read_uptime),
    /// @syntax ZolarcText (SIZE (0..7))
    /// The share of processor time that is not idle, for example '12.0%', over the moment that one run of top takes.
    /// '0.0%' when top prints no load.
    grouped_text({2, 8}, 1, "cpu_percent_used", [] { return read_load(Share::used, cpu_percent_used); }),
    /// @syntax ZolarcText (SIZE (0..7))
    /// The share of processor time that is idle, as cpuPercentUsed.
    grouped_text({2, 9}, 2, "cpu_percent_free", [] { return read_load(Share::free, cpu_percent_free); }),
    /// The LAN address; changed only on the device itself. 127.0.0.1 when the configuration cannot be read.
    grouped_address(
        {8, 1, 2}, 4, "lan_ip", [] { return read_address("lan", "ipaddr"); }, write_lan_ip),
    /// The LAN netmask; changed only on the device itself.
    grouped_address(
        {8, 1, 3}, 9, "lan_netmask", [] { return read_address("lan", "netmask"); }, write_netmask_ip),
    /// The gateway of the LAN; changed only on the device itself.
    grouped_address(
        {8, 1, 4}, 11, "lan_gateway", [] { return read_address("br-lan", "gateway"); }, write_gateway_ip),
    /// The WAN address; changed only on the device itself. 127.0.0.1 when the configuration cannot be read.
    grouped_address(
        {8, 2, 2}, 51, "wan_ip", [] { return read_address("wan", "ipaddr"); }, write_wan_ip),
    /// The WAN netmask; changed only on the device itself.
    grouped_address(
        {8, 2, 3}, 52, "wan_netmask", [] { return read_address("wan", "netmask"); }, write_netmask2_ip),
    /// The gateway of the WAN; changed only on the device itself.
    grouped_address(
        {8, 2, 4}, 53, "wan_gateway", [] { return read_address("wan", "gateway"); }, write_gateway2_ip),
    /// @syntax INTEGER { down(0), up(1) }
    /// Whether the port has a link, by the kernel's messages about it. The kernel counts the ports the other way round:
    /// these are its messages about port 2. A link that is up for whole hours to the second shows as down.
    grouped_integer({9, 1, 1}, 60, "eth1_connected", [] { return get_conn_status(0); }),
    /// @syntax ZolarcText (SIZE (0..31))
    /// For how long the port has had its link, for example '0 Days 01:02:03'.
    grouped_text({9, 1, 2}, 58, "eth1_link_time", [] { return read_link_time("eth0.1"); }),
    /// @units bytes
    /// Bytes received (ifconfig), which wrap into negative numbers at 2^31.
    grouped_integer({9, 1, 4}, 55, "eth1_rx_bytes", [] { return received("eth0.1", bytes); }),
    /// @units bytes
    /// Bytes sent, as eth1RxBytes.
    grouped_integer({9, 1, 5}, 54, "eth1_tx_bytes", [] { return transmitted("eth0.1", bytes); }),
    /// Errors in receiving, where ifconfig tells them behind the byte count; else 0.
    grouped_integer({9, 1, 6}, 62, "eth1_rx_errors", [] { return received("eth0.1", errors); }),
    /// Errors in sending, where ifconfig tells them behind the byte count; else 0.
    grouped_integer({9, 1, 7}, 63, "eth1_tx_errors", [] { return transmitted("eth0.1", errors); }),
    /// @units kbit/s
    /// The rate of reception over the last three seconds, sampled in the background.
    grouped_integer({9, 1, 8}, 66, "eth1_rx_rate", [] { return whole(eth1_rx_rate); }),
    /// @units kbit/s
    /// The rate of sending over the last three seconds, sampled in the background.
    grouped_integer({9, 1, 9}, 67, "eth1_tx_rate", [] { return whole(eth1_tx_rate); }),
    /// @syntax INTEGER { down(0), up(1) }
    /// Whether the port has a link, as eth1Connected, by the kernel's messages about its port 1.
    grouped_integer({9, 2, 1}, 61, "eth2_connected", [] { return get_conn_status(1); }),
    /// @syntax ZolarcText (SIZE (0..31))
    /// For how long the port has had its link, as eth1LinkTime.
    grouped_text({9, 2, 2}, 59, "eth2_link_time", [] { return read_link_time("eth0.2"); }),
    /// @syntax ZolarcMacAddress
    /// The interface's Ethernet address.
    grouped_text({9, 2, 3}, 10, "eth2_mac", [] { return read_mac("eth0.2"); }),
    /// @units bytes
    /// Bytes received (ifconfig), which wrap into negative numbers at 2^31.
    grouped_integer({9, 2, 4}, 57, "eth2_rx_bytes", [] { return received("eth0.2", bytes); }),
    /// @units bytes
    /// Bytes sent, as eth2RxBytes.
    grouped_integer({9, 2, 5}, 56, "eth2_tx_bytes", [] { return transmitted("eth0.2", bytes); }),
    /// Errors in receiving, as eth1RxErrors.
    grouped_integer({9, 2, 6}, 64, "eth2_rx_errors", [] { return received("eth0.2", errors); }),
    /// Errors in sending, as eth1TxErrors.
    grouped_integer({9, 2, 7}, 65, "eth2_tx_errors", [] { return transmitted("eth0.2", errors); }),
    /// @units kbit/s
    /// The rate of reception over the last three seconds, sampled in the background.
    grouped_integer({9, 2, 8}, 68, "eth2_rx_rate", [] { return whole(eth2_rx_rate); }),
    /// @units kbit/s
    /// The rate of sending over the last three seconds, sampled in the background.
    grouped_integer({9, 2, 9}, 69, "eth2_tx_rate", [] { return whole(eth2_tx_rate); }),
    /// @syntax ZolarcText (SIZE (0..63))
    /// The local date and time, for example '2026/11/21 10:20:30'.
    grouped_text({14, 1}, 40, "current_time", read_clock, write_current_time),
};

void preset_texts() {
  for (const auto &[value, start] : texts) copy_text(value, start);
}

}  // namespace

ZOL_SCALAR_GROUP(zolwrt, objects, preset_texts)
