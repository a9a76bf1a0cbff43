// Every reader of an interface's figures on one and the same text, and beside it the C library's own conversions.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "mib/tables/tables.hpp"
#include "tests/fuzz/printed.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

using Lines = std::vector<std::string>;

/// The lines as a reader with a buffer of 128 bytes meets them.
Lines read_lines() {
  Lines found;
  for (size_t start = 0; start < printed.size();) {
    const size_t end = std::min(printed.find('\n', start), start + 126);
    std::string line = printed.substr(start, end + 1 - start);
    // What follows a NUL is not seen.
    line.resize(strlen(line.c_str()));
    if (!line.empty()) line.pop_back();
    found.push_back(line);
    start = end + 1;
  }
  return found;
}

struct Figure {
  int (*read)(const char *, int32_t *);
  const char *label;
  size_t gap;
  const char *format;
};
constexpr Figure figures[] = {
    {get_zol_acktimeout_current, "ACK timeout  :", 1, "%lld %*s"},
    {get_zol_dfs_status, "DFS status   :", 1, "%lld %*s"},
    {get_zol_bit_rate, "Bit Rate:", 0, "%lld %*s"},
    {get_zol_wlantx_packets, "TX packets:", 0, "%lld %*s"},
    {get_zol_wlantx_bytes, "TX bytes:", 0, "%lld %*s"},
    {get_zol_wlantx_errors, "TX packets:", 0, "%*d errors:%lld %*s"},
    {get_zol_txexcess_retries, "Tx excessive retries:", 0, "%lld %*s"},
    {get_zol_missed_beacons, "Missed beacon:", 0, "%lld %*s"},
    {get_zol_wlanrx_packets, "RX packets:", 0, "%lld %*s"},
    {get_zol_wlanrx_bytes, "RX bytes:", 0, "%lld %*s"},
    {get_zol_wlanrx_errors, "RX packets:", 0, "%*d errors:%lld %*s"},
    {get_zol_rx_invalidNwid, "Rx invalid nwid:", 0, "%lld %*s"},
    {get_zol_rx_invalidCrypt, "Rx invalid crypt:", 0, "%lld %*s"},
    {get_zol_rx_invalidFrag, "Rx invalid frag:", 0, "%lld %*s"},
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
int32_t expected(const Figure &figure, const Lines &lines) {
  // Wide, for what does not fit is cut alike on every machine.
  long long value = 0;
  for (const std::string &line : lines) {
    const size_t label = line.find(figure.label);
    if (label == std::string::npos) continue;
    const size_t start = std::min(label + strlen(figure.label) + figure.gap, line.size());
    sscanf(line.c_str() + start, figure.format, &value);
    break;
  }
  return static_cast<int32_t>(value);
}
#pragma GCC diagnostic pop

int32_t expected_stations(const Lines &lines) {
  int32_t stations = 0;
  for (const std::string &line : lines) stations += line.size() >= 6 && line[2] == ':' && line[5] == ':' ? 1 : 0;
  return stations;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  printed.assign(reinterpret_cast<const char *>(data), size);
  const Lines lines = read_lines();
  for (const Figure &figure : figures) {
    int32_t value = 77;
    require(figure.read("ath0", &value) == 0 && value == expected(figure, lines), figure.label);
  }
  int32_t stations = 77;
  require(get_zol_assoc_count("ath0", &stations) == 0 && stations == expected_stations(lines), "stations");
  // Memory of its exact size, which a sanitizer guards.
  const auto mac = std::make_unique<char[]>(20);
  require(get_zol_wlan_mac("ath0", mac.get()) == 0, "the command was started");
  return 0;
}
