// Figures of the interface ath0, and what passes through it in a second.

#include "mib/clients/counters.hpp"

#include <cstring>

#include "core/clock.hpp"
#include "core/command.hpp"
#include "core/text.hpp"
#include "mib/clients/clients.hpp"

using namespace zol;

namespace {

/// The first line of an output that is about `ath0`, as far as the sign behind its colon number `colons`; null when
/// there is no such line.
const char *behind_colons(LineReader &output, int colons) {
  if (!output.next()) return nullptr;
  const char *text = output.line();
  for (; colons > 0; --colons) {
    const char *colon = strchr(text, ':');
    // Something must stand before each colon.
    if (colon == nullptr || colon == text) return nullptr;
    text = colon + 1;
  }
  return text;
}

int read_number(LineReader &&output, int colons, int32_t *out) {
  if (!output) return -1;
  const char *text = behind_colons(output, colons);
  if (text == nullptr) return 0;
  if (const auto number = scan_int32(text)) *out = *number;
  return 0;
}

/// Reads "<packets> errors:<errors>" behind the first colon.
int read_errors(LineReader &&output, int32_t *out) {
  if (!output) return -1;
  const char *text = behind_colons(output, 1);
  if (text == nullptr) return 0;
  if (const auto errors = scan_second_number(text, "errors:", " \t")) *out = *errors;
  return 0;
}

/// Kbit/s by what `read` counts more within a second.
int probe(float *kbps, int (*read)(int32_t *)) {
  int32_t before = 0;
  int32_t after = 0;
  read(&before);
  msleep(1000);
  read(&after);
  const auto bytes = static_cast<int32_t>(static_cast<uint32_t>(after) - static_cast<uint32_t>(before));
  *kbps = static_cast<float>(static_cast<double>(static_cast<float>(bytes)) * 8.0 * 0.0009765625);
  return 0;
}

}  // namespace

int32_t zol::counter_value(const char *name) { return to_int32(name + strcspn(name, "0123456789")); }

int zol_get_80211(int32_t *out, const char *counter) {
  *out = 0;
  CommandOutput output("80211stats -i ath0 -a");
  if (!output) return -1;
  if (const char *found = output.find(counter)) *out = counter_value(found);
  return 0;
}

int zol_get_tx_err_packets(int32_t *out) {
  return read_errors(CommandOutput("ifconfig ath0 | grep \"TX packets\""), out);
}
int zol_get_rx_err_packets(int32_t *out) {
  return read_errors(CommandOutput("ifconfig ath0 | grep \"RX packets\""), out);
}

// "RX bytes" and "TX bytes" stand on one line, in this order.
int zol_get_tx_bytes(int32_t *out) { return read_number(CommandOutput("ifconfig ath0 | grep \"TX bytes\""), 2, out); }
int zol_get_rx_bytes(int32_t *out) { return read_number(CommandOutput("ifconfig ath0 | grep \"RX bytes\""), 1, out); }

int zol_get_tx_realtime(float *kbps) { return probe(kbps, zol_get_tx_bytes); }
int zol_get_rx_realtime(float *kbps) { return probe(kbps, zol_get_rx_bytes); }

int zol_get_80211_tx_realtime(float *kbps) {
  return probe(kbps, [](int32_t *out) { return zol_get_80211(out, "tx_bytes"); });
}
int zol_get_80211_rx_realtime(float *kbps) {
  return probe(kbps, [](int32_t *out) { return zol_get_80211(out, "rx_bytes"); });
}

// Placeholders.
int zol_get_tx_realtime_rate(void) { return 0; }
int zol_get_rx_realtime_rate(void) { return 0; }
int zol_get_80211_tx_realtime_rate(void) { return 0; }
int zol_get_80211_rx_realtime_rate(void) { return 0; }
int zol_get_80211_tx_realtime_by_macaddr(void) { return 0; }
int zol_get_80211_rx_realtime_by_macaddr(void) { return 0; }
int zol_main_thread_1(void) { return 0; }
int zol_main_thread_2(void) { return 0; }
