// Texts, numbers, addresses, times and what is logged.

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include "core/address.hpp"
#include "core/clock.hpp"
#include "core/net_snmp.hpp"
#include "core/option.hpp"
#include "core/text.hpp"

namespace {

TEST(Fields, AreCountedWithoutTheEmptyOnes) {
  const std::tuple<const char *, unsigned short, char, std::string> cases[] = {
      {"a;b;c", 0, ';', "a"},
      {"a;b;c", 2, ';', "c"},
      {"a;;b", 1, ';', "b"},
      {";;a;", 0, ';', "a"},
      {"a;b;", 2, ';', "old"},
      {"", 0, ';', "old"},
      {"key=value=more", 1, '=', "value"},
      {"key=", 1, '=', "old"},
      {"one two", 1, ' ', "two"},
  };
  for (const auto &[source, index, separator, expected] : cases) {
    char field[16] = "old";
    EXPECT_EQ(zoel_getElementOf_(field, source, index, separator), 0);
    EXPECT_EQ(field, expected) << source;
    char bounded[3] = "ol";
    const bool found = zol::copy_field(bounded, source, index, separator);
    EXPECT_EQ(found, expected != "old") << source;
    EXPECT_EQ(std::string(bounded), expected.substr(0, 2)) << source;
  }
  EXPECT_EQ(zol_countElementOf_(" a  bc d ", ' '), 3);
  EXPECT_EQ(zol_countElementOf_("", ' '), 0);
}

TEST(Texts, BehindAMarkerEndWithTheLine) {
  EXPECT_STREQ(zol::text_after("a: b: c", ": "), "b: c");
  EXPECT_STREQ(zol::text_after("label: x", "label:", 1), "x");
  EXPECT_STREQ(zol::text_after("label:\0xxxx", "label:", 2), "");
  EXPECT_EQ(zol::text_after("label", "label:"), nullptr);
}

TEST(Numbers, WrapAtThirtyTwoBitsOnEveryMachine) {
  const std::pair<const char *, int32_t> cases[] = {{"12", 12},
                                                    {"  -7x", -7},
                                                    {"+3", 3},
                                                    {"x", 0},
                                                    {"", 0},
                                                    {"0x10", 0},
                                                    {"2147483648", INT32_MIN},
                                                    {"3000000000", -1294967296},
                                                    {"4294967296", 0}};
  for (const auto &[text, number] : cases) EXPECT_EQ(zol::to_int32(text), number) << text;
  const char *cursor = "12.5";
  EXPECT_EQ(zol::scan_int32(cursor), 12);
  EXPECT_STREQ(cursor, ".5");
  EXPECT_EQ(zol::scan_int32(cursor), std::nullopt);
}

TEST(Values, AreTheSecondFieldOrTheRestOfTheLine) {
  const struct {
    const char *line;
    const char *text;
    std::optional<int32_t> number;
    const char *rest;
    std::optional<int32_t> number_of_rest;
  } cases[] = {
      {"qos.wan.upload=512", "512", 512, "512", 512},
      {"a.b.c=12 34", "12 34", 12, "12 34", 12},
      {"a.b.c=-1=2", "-1", -1, "-1=2", -1},
      {"a.b.c==5", "5", 5, "=5", std::nullopt},
      {"=a.b.c=5", "5", 5, "a.b.c=5", std::nullopt},
      {"a.b.c=", "", std::nullopt, "", std::nullopt},
      {"uci: Entry not found", "", std::nullopt, "", std::nullopt},
  };
  for (const auto &[line, text, number, rest, number_of_rest] : cases) {
    const zol::Value value(line);
    EXPECT_STREQ(value.text(), text) << line;
    EXPECT_EQ(value.number(), number) << line;
    EXPECT_STREQ(value.rest(), rest) << line;
    EXPECT_EQ(value.number(&zol::Value::rest), number_of_rest) << line;
    EXPECT_EQ(value.is(text), true) << line;
    EXPECT_EQ(value.is(text, &zol::Value::rest), strcmp(text, rest) == 0) << line;
  }
}

TEST(Tokens, CutALongTextAndSaySo) {
  char text[33];
  zol::preset_text(text, 32, std::string(31, 'a').c_str());
  EXPECT_EQ(std::string(text), std::string(31, 'a'));
  for (const size_t length : {size_t{32}, size_t{200}}) {
    zol::preset_text(text, 32, std::string(length, 'a').c_str());
    EXPECT_EQ(std::string(text), std::string(29, 'a') + "...");
  }
}

TEST(Addresses, AreReadOctetByOctet) {
  const std::tuple<const char *, uint32_t, int, uint32_t> cases[] = {{"192.168.1.2", 0xC0A80102, 4, 0xC0A80102},
                                                                     {"10.0.0.1/8", 0x0A000001, 4, 0x0A000001},
                                                                     {"10.1", 0x0A010000, 2, 0},
                                                                     {"", 0, 0, 0},
                                                                     {"x", 0, 0, 0}};
  for (const auto &[text, address, octets, strict] : cases) {
    const zol::ScannedIpv4 scanned = zol::scan_ipv4(text);
    EXPECT_EQ(scanned.address, address) << text;
    EXPECT_EQ(scanned.octets, octets) << text;
    EXPECT_EQ(zol::parse_ipv4(text), strict) << text;
  }
  EXPECT_STREQ(zol::DottedQuad(0xFFFEFD00).text(), "255.254.253.0");
}

TEST(Addresses, MacDigitsAreTakenByPosition) {
  const std::pair<const char *, std::array<uint8_t, 6>> cases[] = {
      {"00:0a:1b:2c:3D:4e", {0x00, 0x0A, 0x1B, 0x2C, 0x3D, 0x4E}},
      {"00-0a-1b-2c-3d-4e and more", {0x00, 0x0A, 0x1B, 0x2C, 0x3D, 0x4E}},
      // Short texts: the octets that are there, a NUL behind them, and the filling of '0' characters.
      {"", {0, '0', '0', '0', '0', '0'}},
      {"12:3", {0x12, 0x30, 0, '0', '0', '0'}},
  };
  for (const auto &[text, expected] : cases) {
    EXPECT_EQ(memcmp(zol::mac_octets(text).data(), expected.data(), 6), 0) << text;
  }
  zol::MacOctets octets{};
  hex_text_to_octets(std::string(100, 'F').c_str(), octets.data());
  EXPECT_EQ(octets[18], 0xFF);
  EXPECT_EQ(octets[19], 0) << "ends inside its twenty bytes";
  constexpr zol::Mac mac{0, 1, 0xAB, 0xFF, 0, 9};
  EXPECT_EQ(zol::parse_mac("00:1:aB:ff:0:9", ':'), mac);
  EXPECT_EQ(zol::parse_mac("00:01:02:03:04", ':'), std::nullopt);
  EXPECT_EQ(zol::scan_mac("12:34-56", ':').mac, (zol::Mac{0x12, 0x34}));
  EXPECT_STREQ(zol::MacText(mac).text(), "00:01:AB:FF:00:09");
  EXPECT_STREQ(zol::MacText(mac, zol::MacText::lower_case, '-').text(), "00-01-ab-ff-00-09");
  EXPECT_STREQ(zol::MacText(mac, zol::MacText::without_zeros).text(), "0:1:ab:ff:0:9");
}

TEST(Times, SpansAreComputedAsTheDeviceDoes) {
  const std::pair<int32_t, const char *> cases[] = {{0, "0 Days 00:00:00"},
                                                    {90061, "1 Days 01:01:01"},
                                                    {-1, "0 Days 00:00:-1"},
                                                    {-90061, "4294967295 Days -1:-1:-1"},
                                                    {INT32_MAX, "24855 Days 03:14:07"}};
  for (const auto &[seconds, span] : cases) {
    char text[44];
    EXPECT_EQ(getTimeString(seconds, text, sizeof text), 0);
    EXPECT_STREQ(text, span);
  }
  char small[8];
  getTimeString(90061, small, sizeof small);
  EXPECT_STREQ(small, "1 Days ");
}

time_t fixed_time = 0;

TEST(Times, AStampPadsTheDay) {
  setenv("TZ", "UTC", 1);
  tzset();
  const std::pair<time_t, const char *> cases[] = {{1767600000, "2026/01/05 08:00:00"},
                                                   {1795993444, "2026/11/29 23:04:04"}};
  for (const auto &[time, expected] : cases) {
    fixed_time = time;
    char stamp[20] = "";
    EXPECT_EQ(zoel_print_time(stamp), 0);
    EXPECT_STREQ(stamp, expected);
  }
}

/// What the agent was given to log, for example "3 zolarc: cannot start\n".
std::string logged;

int take_line(int, int, void *message, void *) {
  const auto *line = static_cast<const snmp_log_message *>(message);
  logged += std::to_string(line->priority) + " " + line->msg;
  return 0;
}

TEST(Log, GoesThroughTheAgentOnceForEachComplaint) {
  snmp_disable_log();
  snmp_enable_calllog();
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, take_line, nullptr);
  zol::Complaint late(LOG_WARNING);
  for (const char *command : {"uci", "top"}) late.raise("%s is late", command);
  EXPECT_TRUE(late.over());
  EXPECT_FALSE(late.over());
  late.raise("late again");
  zol::log_line("%d lines", 2);
  EXPECT_EQ(std::exchange(logged, ""), "4 zolarc: uci is late\n4 zolarc: late again\n3 zolarc: 2 lines\n");

  zol::log_from_this_thread();
  std::thread([] {
    for (int i = 0; i < 10; ++i) zol::log_line(LOG_NOTICE, "%d", i);
  }).join();
  EXPECT_EQ(std::exchange(logged, ""), "") << "the agent's thread logs it";
  zol::log_waiting_lines();
  EXPECT_EQ(logged.substr(0, 24), "5 zolarc: 0\n5 zolarc: 1\n");
  EXPECT_NE(logged.find("5 zolarc: 7\n4 zolarc: 2 more"), std::string::npos) << logged;
}

}  // namespace

// The clock of this program stands where the test sets it.
extern "C" time_t time(time_t *timer) noexcept {
  if (timer != nullptr) *timer = fixed_time;
  return fixed_time;
}
