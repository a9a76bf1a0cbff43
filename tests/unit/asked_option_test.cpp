// Which lines of a dump are no answer to a question about one option.

#include "core/command/asked_option.hpp"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

std::vector<std::string> answers(const char *command, const std::vector<std::string> &lines) {
  zol::AskedOption asked(command);
  std::vector<std::string> left;
  for (const std::string &line : lines) {
    if (!asked.is_other((line + "\n").c_str())) left.push_back(line);
  }
  return left;
}

TEST(AskedOption, LeavesWhatMayBeAnAnswer) {
  using Lines = std::vector<std::string>;
  const Lines package{"wireless.wifi0=wifi-device",         "wireless.wifi0.channel=6",
                      "wireless.@wifi-iface[0]=wifi-iface", "wireless.@wifi-iface[0].ssid=my net",
                      "wireless.guest=wifi-iface",          "wireless.guest.ssid=guests"};
  const Lines odd{"channel=6",
                  "foo=5",
                  "",
                  "uci: Entry not found",
                  "wireless.wifi0",
                  "wireless.a.b.c=5",
                  "radio.wifi0.x=5",
                  "wireless..x=1",
                  "wireless.a.b-c=1",
                  "=",
                  "wireless.wifi0.channel=6",
                  "wireless.cfg033579.channel=7"};
  const std::tuple<const char *, Lines, Lines> cases[] = {
      // An option is missing: the dump of its section. A section is missing: the dump of its package.
      {"uci show wireless.wifi0.txpower", {"wireless.wifi0=wifi-device", "wireless.wifi0.channel=6"}, {}},
      {"uci show -q wireless.wifi3.channel", package, {}},
      {"uci show wireless.@wifi-iface[3].ssid", package, {}},
      // What is there is printed alone, under whatever name its section has.
      {"uci show wireless.@wifi-iface[0].ssid", {"wireless.cfg033579.ssid=x"}, {"wireless.cfg033579.ssid=x"}},
      {"uci show wireless.@wifi-iface[1].ssid", {"wireless.guest.ssid=x"}, {"wireless.guest.ssid=x"}},
      {"uci show wireless.wifi0.channel", package, {"wireless.wifi0.channel=6"}},
      {"uci show wireless.wifi0.channel", odd, odd},
      // What does not begin as a dump does is none.
      {"uci show wireless.wifi0.channel", {"wireless.wifi0.channels=1"}, {"wireless.wifi0.channels=1"}},
      // Nobody asks for one option here.
      {"uci show wireless", package, package},
      {"uci show wireless.wifi0", package, package},
      {"uci show wireless | grep \"wifi0.channel\"", package, package},
      {"uci show wireless.wifi0.a;uci show wireless.wifi0.b", package, package},
      {"uci get -q wireless.wifi0.channel", package, package},
      {"iwinfo ath0 info", package, package},
  };
  for (const auto &[command, printed, left] : cases) EXPECT_EQ(answers(command, printed), left) << command;
}

}  // namespace
