// The tools that ask the kernel's network stack.

#include <cctype>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "standins/state.hpp"
#include "standins/tools.hpp"

using state::Folder;

namespace {

bool is_up(const Folder &interface) { return interface.number("up", 1) != 0; }

/// A byte count as ifconfig adds it in brackets.
std::string human_readable(unsigned long long bytes) {
  unsigned long long tenths = bytes * 10;
  const char *unit = "";
  for (const char *larger : {"Ki", "Mi", "Gi", "Ti"}) {
    if (tenths < 10240) break;
    tenths /= 1024;
    unit = larger;
  }
  char text[48];
  snprintf(text, sizeof text, "%llu.%llu %sB", tenths / 10, tenths % 10, unit);
  return text;
}

void show_interface(const Folder &interface) {
  const bool loopback = interface.name() == "lo";
  if (loopback) {
    puts("lo        Link encap:Local Loopback  ");
  } else {
    printf("%-9s Link encap:Ethernet  HWaddr %s  \n", interface.name().c_str(),
           state::upper(interface.text("mac", "00:00:00:00:00:00")).c_str());
  }
  if (const auto address = interface.find("address")) {
    printf("          inet addr:%s  Mask:%s\n", address->c_str(), interface.text("netmask", "255.255.255.0").c_str());
  }
  printf("          %s%s%s  MTU:1500  Metric:1\n", is_up(interface) ? "UP " : "", loopback ? "LOOPBACK" : "BROADCAST",
         is_up(interface) && interface.number("link", 1) != 0 ? " RUNNING MULTICAST" : " MULTICAST");
  const auto packets = [&](const char *label, const std::string &prefix, const char *last) {
    printf("          %s packets:%lld errors:%lld dropped:%lld overruns:%lld %s:%lld\n", label,
           interface.number(prefix + "packets"), interface.number(prefix + "errors"),
           interface.number(prefix + "dropped"), interface.number(prefix + "overruns"), last,
           interface.number(prefix + last));
  };
  packets("RX", "rx_", "frame");
  packets("TX", "tx_", "carrier");
  puts("          collisions:0 txqueuelen:1000 ");
  const long long received = interface.number("rx_bytes");
  const long long sent = interface.number("tx_bytes");
  printf("          RX bytes:%lld (%s)  TX bytes:%lld (%s)\n\n", received,
         human_readable(static_cast<unsigned long long>(received)).c_str(), sent,
         human_readable(static_cast<unsigned long long>(sent)).c_str());
}

}  // namespace

int ifconfig(Arguments arguments) {
  const bool all = !arguments.empty() && strcmp(arguments[0], "-a") == 0;
  if (arguments.empty() || all) {
    for (const Folder &interface : state::interfaces()) {
      if (all || is_up(interface)) show_interface(interface);
    }
    return 0;
  }
  const Folder interface = state::interface(arguments[0]);
  if (!interface.exists()) {
    fprintf(stderr, "ifconfig: %s: error fetching interface information: Device not found\n", arguments[0]);
    return 1;
  }
  if (arguments.size() == 1) {
    show_interface(interface);
    return 0;
  }
  const std::string_view action = arguments[1];
  if (action != "up" && action != "down") {
    fprintf(stderr, "ifconfig: bad argument '%s'\n", arguments[1]);
    return 1;
  }
  interface.set("up", action == "up" ? "1" : "0");
  return 0;
}

int brctl(Arguments arguments) {
  if (arguments.empty() || strcmp(arguments[0], "show") != 0) {
    fputs("brctl: only \"show\" is known here\n", stderr);
    return 1;
  }
  std::map<std::string, std::vector<std::string>> members;
  for (const Folder &interface : state::interfaces()) {
    const std::string bridge = interface.text("bridge");
    if (!bridge.empty()) members[bridge].push_back(interface.name());
  }
  puts("bridge name\tbridge id\t\tSTP enabled\tinterfaces");
  for (const auto &[bridge, names] : members) {
    std::string id;
    for (const char c : state::interface(bridge).text("mac", "00:00:00:00:00:00")) {
      if (c != ':') id += static_cast<char>(tolower(static_cast<unsigned char>(c)));
    }
    printf("%s\t\t8000.%s\tno\t\t", bridge.c_str(), id.c_str());
    for (size_t i = 0; i < names.size(); ++i) printf("%s%s\n", i == 0 ? "" : "\t\t\t\t\t\t\t", names[i].c_str());
  }
  return 0;
}
