// The two Ethernet ports of the switch, which the system sees as the VLAN interfaces "eth0.1" and "eth0.2".

#include <array>
#include <cstdio>
#include <cstring>

#include "core/clock.hpp"
#include "core/command.hpp"
#include "core/text.hpp"
#include "mib/status/status.hpp"

using namespace zol;

namespace {

/// The VLAN of "eth0.2" is 2; a name without a VLAN belongs to 1.
int vlan_of(const char *interface) {
  int vlan = 1;
  sscanf(interface, "eth%*d.%d", &vlan);
  return vlan;
}

/// A message of the kernel: its line among all messages and when it was written, in whole seconds since the start.
struct Message {
  int32_t line = 0;
  uint32_t seconds = 0;
};

/// Reads "12:[   34.567890] ..." as far as it goes.
void scan_message(const char *text, Message &message) {
  const auto line = scan_int32(text);
  if (!line) return;
  message.line = *line;
  if (strncmp(text, ":[", 2) != 0) return;
  text += 2;
  if (const auto seconds = scan_int32(text)) message.seconds = static_cast<uint32_t>(*seconds);
}

/// How long the link of `interface` has been up, in seconds; false when the kernel's messages cannot be read.
bool read_link_seconds(const char *interface, int32_t &seconds) {
  seconds = 0;
  int32_t status = 0;
  zol_get_ethernet_status(interface, &status);
  if (status != 1) return true;

  // The switch counts its ports the other way round: VLAN 2 is on port 1, and everything else on port 2. The driver
  // writes a colon before the number of a port that goes down, and none before that of a port that comes up.
  const int port = vlan_of(interface) == 2 ? 1 : 2;
  CommandOutput output(
      "dmesg | grep -n \"Enet:0 port:%d down\" | tail -1;dmesg | grep -n \"Enet:0 port%d up\" | tail -1", port, port);
  if (!output) return false;
  Message up;
  Message down;
  while (output.next()) {
    if (strstr(output.line(), "up") != nullptr) {
      scan_message(output.line(), up);
    } else if (strstr(output.line(), "down") != nullptr) {
      scan_message(output.line(), down);
    }
  }
  const bool is_up = up.seconds >= down.seconds && down.line < up.line;
  if (is_up) seconds = static_cast<int32_t>(static_cast<uint32_t>(getSysUptime()) - up.seconds);
  return true;
}

}  // namespace

int zol_get_ethernet_status(const char *interface, int32_t *status) {
  *status = 0;
  CommandOutput output("ifconfig | grep %s", interface);
  if (!output) return -1;
  if (output.find("Ethernet") != nullptr) *status = 1;
  return 0;
}

const char *zol::get_port_link_time(const char *interface) {
  static std::array<char, 32> text;
  int32_t seconds = 0;
  if (!read_link_seconds(interface, seconds)) return nullptr;
  getTimeString(seconds, text.data(), text.size());
  return text.data();
}

int32_t get_conn_status(int32_t port) {
  const char *link_time = get_port_link_time(port == 1 ? "eth0.2" : "eth0.1");
  const char *cursor = link_time == nullptr ? nullptr : text_after(link_time, ":");
  if (cursor == nullptr) return 0;
  const int32_t minutes = scan_int32(cursor).value_or(0);
  const int32_t seconds = *cursor == ':' ? to_int32(cursor + 1) : 0;
  return minutes > 0 || seconds > 0 ? 1 : 0;
}

int zol_get_statistics_transmit_bytes(const char *interface, const char *key, int32_t mode, uint32_t *out) {
  *out = 0;
  int32_t status = 0;
  zol_get_ethernet_status(interface, &status);
  if (status != 1) return 0;
  CommandOutput output("ifconfig %s", interface);
  if (!output) return -1;
  const char *found = output.find(key);
  if (found == nullptr) return 0;
  const char *value = found + strlen(key);
  // The errors are looked for behind the byte count, where `ifconfig` of this device writes other things as a rule; it
  // is meant so.
  if (mode == 0) *out = static_cast<uint32_t>(to_int32(value));
  if (mode == 1) *out = static_cast<uint32_t>(scan_second_number(value, "errors:").value_or(0));
  return 0;
}
