// The tools that ask the wireless driver.

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "standins/state.hpp"
#include "standins/tools.hpp"

using state::Folder;

namespace {

/// The name of the network in quotes, or `unknown` for one that hides it.
std::string quoted_essid(const Folder &network) {
  const auto essid = network.find("essid");
  return essid && !essid->empty() ? '"' + *essid + '"' : "unknown";
}

/// The centre frequency of a channel, in MHz.
long long frequency(long long channel) {
  if (channel == 14) return 2484;
  return channel < 14 ? 2407 + 5 * channel : 5000 + 5 * channel;
}

std::string address_of(const Folder &interface) {
  const std::string bssid = interface.text("bssid");
  return bssid.empty() ? "Not-Associated" : state::upper(bssid);
}

int info(const Folder &interface) {
  const long long channel = interface.number("channel", 6);
  const long long megahertz = frequency(channel);
  const long long noise = interface.number("noise", -95);
  printf("%-9s ESSID: %s\n", interface.name().c_str(), quoted_essid(interface).c_str());
  printf("          Access Point: %s\n", address_of(interface).c_str());
  printf("          Mode: %s  Channel: %lld (%lld.%03lld GHz)\n", interface.text("mode", "Master").c_str(), channel,
         megahertz / 1000, megahertz % 1000);
  printf("          Tx-Power: %s dBm  Link Quality: %s/70\n", interface.text("tx_power", "20").c_str(),
         interface.text("quality", "50").c_str());
  printf("          Signal: %s dBm  Noise: %lld dBm\n", interface.text("signal", "-60").c_str(), noise);
  printf("          Bit Rate: %s.0 MBit/s\n", interface.text("bit_rate", "130").c_str());
  printf("          Encryption: %s\n", interface.text("encryption", "none").c_str());
  printf("          Type: wext  HW Mode(s): %s\n", interface.text("hwmode", "802.11bgn").c_str());
  printf("          ACK timeout  : %s us\n", interface.text("ack_timeout", "64").c_str());
  printf("          DFS status   : %s (1: idle, 2: scanning, 3: detected)\n",
         interface.text("dfs_status", "1").c_str());
  return 0;
}

int scan(const Folder &interface) {
  const auto heard = state::neighbours(interface.text("radio", "wifi0"));
  if (heard.empty()) puts("No scan results\n");
  int cell = 0;
  for (const Folder &network : heard) {
    printf("Cell %02d - Address: %s\n", ++cell, state::upper(network.text("bssid")).c_str());
    printf("          ESSID: %s\n", quoted_essid(network).c_str());
    printf("          Mode: Master  Channel: %s\n", network.text("channel", "1").c_str());
    printf("          Signal: %s dBm  Quality: %s/70\n", network.text("signal", "-80").c_str(),
           network.text("quality", "30").c_str());
    printf("          Encryption: %s\n\n", network.text("encryption", "none").c_str());
  }
  return 0;
}

void rate_line(const Folder &station, const char *label, const char *value, const char *packets) {
  const std::string rate = station.text(value);
  if (rate.empty()) return;
  printf("\t%s: %s MBit/s, MCS %lld, 20MHz  %8lld Pkts.\n", label, rate.c_str(), station.number("mcs", 7),
         Folder("stations/" + station.name() + "/counters").number(packets));
}

int assoclist(const Folder &interface) {
  const auto associated = state::stations(interface.name());
  if (associated.empty()) puts("No station connected");
  for (const Folder &station : associated) {
    const long long noise = station.number("noise", interface.number("noise", -95));
    const std::string mac = state::upper(station.name());
    if (const std::string signal = station.text("signal"); signal.empty()) {
      printf("[%s]  unknown / %lld dBm (SNR 0)", mac.c_str(), noise);
    } else {
      printf("[%s]  %s dBm / %lld dBm (SNR %lld)", mac.c_str(), signal.c_str(), noise,
             station.number("signal") - noise);
    }
    printf("  TX CCQ=%s%% Signal Chains=%s\n", station.text("ccq", "0").c_str(),
           station.text("signal_chains", "-").c_str());
    rate_line(station, "RX", "rx_rate", "rx_data");
    rate_line(station, "TX", "tx_rate", "tx_data");
    putchar('\n');
  }
  return 0;
}

void wireless_settings(const Folder &interface) {
  const long long channel = interface.number("channel", 6);
  const long long megahertz = frequency(channel);
  const std::string essid = interface.text("essid");
  printf("%-9s IEEE %s  ESSID:\"%s\"\n", interface.name().c_str(), interface.text("hwmode", "802.11bgn").c_str(),
         essid.c_str());
  printf("          Mode:%s  Frequency:%lld.%03lld GHz  Access Point: %s\n", interface.text("mode", "Master").c_str(),
         megahertz / 1000, megahertz % 1000, address_of(interface).c_str());
  // A rate that is fixed by the configuration stands behind "=".
  printf("          Bit Rate%c%s Mb/s   Tx-Power:%s dBm\n", interface.number("bit_rate_fixed") != 0 ? '=' : ':',
         interface.text("bit_rate", "130").c_str(), interface.text("tx_power", "20").c_str());
  printf("          RTS thr:off   Fragment thr:off\n");
  printf("          Encryption key:off\n          Power Management:off\n");
  printf("          Link Quality=%s/94  Signal level=%s dBm  Noise level=%s dBm\n",
         interface.text("quality", "50").c_str(), interface.text("signal", "-60").c_str(),
         interface.text("noise", "-95").c_str());
  printf("          Rx invalid nwid:%lld  Rx invalid crypt:%lld  Rx invalid frag:%lld\n",
         interface.number("rx_invalid_nwid"), interface.number("rx_invalid_crypt"),
         interface.number("rx_invalid_frag"));
  printf("          Tx excessive retries:%lld  Invalid misc:0   Missed beacon:%lld\n\n",
         interface.number("tx_excessive_retries"), interface.number("missed_beacons"));
}

/// The counters of a station, in the driver's order.
constexpr const char *counter_names[] = {
    "rx_data",        "rx_mgmt",        "rx_ctrl",     "rx_ucast",        "rx_mcast",      "rx_bytes",
    "rx_beacons",     "rx_proberesp",   "rx_dup",      "rx_noprivacy",    "rx_wepfail",    "rx_demicfail",
    "rx_decap",       "rx_defrag",      "rx_disassoc", "rx_deauth",       "rx_decryptcrc", "rx_unauth",
    "rx_unencrypted", "tx_data",        "tx_mgmt",     "tx_ucast",        "tx_mcast",      "tx_bytes",
    "tx_retries",     "tx_discard",     "tx_assoc",    "tx_assoc_fail",   "tx_auth",       "tx_auth_fail",
    "tx_deauth",      "tx_deauth_code", "tx_disassoc", "tx_disassoc_code"};

/// The address as the driver's statistics write it: lower case, no leading zeros.
std::string short_address(const std::string &mac) {
  std::string result;
  for (size_t start = 0; start < mac.size(); start += 3) {
    char octet[8];
    snprintf(octet, sizeof octet, "%lx", strtoul(mac.c_str() + start, nullptr, 16));
    if (start > 0) result += ':';
    result += octet;
  }
  return result;
}

}  // namespace

int iwinfo(Arguments arguments) {
  if (arguments.size() < 2) {
    fputs("Usage:\n\tiwinfo <device> info\n\tiwinfo <device> scan\n\tiwinfo <device> assoclist\n", stderr);
    return 1;
  }
  const Folder interface = state::interface(arguments[0]);
  if (!state::is_wireless(interface)) {
    fprintf(stderr, "No such wireless device: %s\n", arguments[0]);
    return 1;
  }
  const std::string_view command = arguments[1];
  if (command == "info") return info(interface);
  if (command == "scan") return scan(interface);
  if (command == "assoclist") return assoclist(interface);
  fprintf(stderr, "Unknown command: %s\n", arguments[1]);
  return 1;
}

int iwconfig(Arguments arguments) {
  if (arguments.empty()) {
    for (const Folder &interface : state::interfaces()) {
      if (state::is_wireless(interface)) wireless_settings(interface);
    }
    return 0;
  }
  const Folder interface = state::interface(arguments[0]);
  if (!state::is_wireless(interface)) {
    fprintf(stderr, "%-9s %s\n", arguments[0], interface.exists() ? "no wireless extensions." : "No such device");
    return 1;
  }
  wireless_settings(interface);
  return 0;
}

int wlanconfig(Arguments arguments) {
  if (arguments.size() < 3 || strcmp(arguments[1], "list") != 0 || strcmp(arguments[2], "sta") != 0) {
    fputs("usage: wlanconfig athX list sta\n", stderr);
    return 1;
  }
  const Folder interface = state::interface(arguments[0]);
  if (!state::is_wireless(interface)) {
    fputs("wlanconfig: ioctl: No such device\n", stderr);
    return 1;
  }
  const auto associated = state::stations(interface.name());
  if (associated.empty()) return 0;
  puts("ADDR               AID CHAN RATE RSSI IDLE  TXSEQ  RXSEQ  CAPS        ACAPS ERP    STATE HTCAPS");
  int id = 0;
  for (const Folder &station : associated) {
    printf("%s %4d %4lld %3lldM %4lld %4lld %6d %6d EPSs          0   0      f Q\n", station.name().c_str(), ++id,
           interface.number("channel", 6), station.number("tx_rate"),
           station.number("signal") - station.number("noise", -95), station.number("idle"), 0, 0);
  }
  return 0;
}

int stats80211(Arguments arguments) {
  if (arguments.size() != 3 || strcmp(arguments[0], "-i") != 0 || strcmp(arguments[2], "-a") != 0) {
    fputs("usage: 80211stats -i <interface> -a\n", stderr);
    return 1;
  }
  if (!state::is_wireless(state::interface(arguments[1]))) {
    fprintf(stderr, "80211stats: %s: No such device\n", arguments[1]);
    return 1;
  }
  for (const Folder &station : state::stations(arguments[1])) {
    printf("%s:\n", short_address(station.name()).c_str());
    const Folder counters("stations/" + station.name() + "/counters");
    for (const char *name : counter_names) printf("\t%s %s\n", name, counters.text(name, "0").c_str());
  }
  return 0;
}
