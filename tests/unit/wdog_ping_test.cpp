#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "wdog/echo.hpp"
#include "wdog/files.hpp"
#include "wdog/history.hpp"
#include "wdog/rounds.hpp"
#include "wdog/settings.hpp"

namespace {

using wdog::Rounds;

/// The seconds after the start at which enough has failed, while a host answers every round after `delay` seconds; a
/// round of `silent` or later is not answered.
std::vector<int64_t> failures_of(Rounds rounds, int64_t delay, int silent, int64_t seconds) {
  std::vector<int64_t> failed;
  std::vector<std::pair<int64_t, uint16_t>> answers;
  int begun = 0;
  for (int64_t now = 0; now <= seconds * 1000; now += 250) {
    for (const auto &[at, round] : answers) {
      if (at == now) rounds.answer(round);
    }
    if (rounds.have_failed(now)) failed.push_back(now / 1000);
    if (const auto round = rounds.begin(now)) {
      if (++begun < silent) answers.emplace_back(now + delay, *round);
    }
  }
  return failed;
}

TEST(Rounds, FailAfterExactlySoMany) {
  struct Case {
    int failures, interval, timeout;
    int64_t delay;
    int silent;
    std::vector<int64_t> failed;
  };
  constexpr int never = 1000;
  const Case cases[] = {
      {3, 10, 2, 0, 1, {22, 52}},  // silent from the start
      {3, 10, 2, 1000, 4, {52}},   // three answers first
      {1, 10, 2, 0, 1, {2, 12, 22, 32, 42, 52}},
      {2, 10, 2, 2500, never, {}},  // late, but there
      {1, 10, 2, 2500, never, {2, 12, 22, 32, 42, 52}},
      {3, 10, 2, 11000, never, {}},                      // late by more than a round
      {3, 1, 5, 0, 1, {7, 14, 21, 28, 35, 42, 49, 56}},  // rounds that overlap
      {3, 1, 5, 4500, never, {}},
      {100, 1, 1, 0, 1, {}},
  };
  for (const Case &expected : cases) {
    const Rounds rounds(expected.failures, expected.interval, expected.timeout, 0);
    EXPECT_EQ(failures_of(rounds, expected.delay, expected.silent, 60), expected.failed)
        << expected.failures << " " << expected.interval << " " << expected.delay;
  }
}

TEST(Echo, ChecksumIsThatOfTheInternet) {
  const unsigned char even[] = {0x08, 0x00, 0x00, 0x00, 0x12, 0x34, 0x00, 0x01};
  EXPECT_EQ(ntohs(wdog::internet_checksum(even, sizeof even)), 0xe5ca);
  const unsigned char odd[] = {0xff, 0xff, 0x01};
  EXPECT_EQ(ntohs(wdog::internet_checksum(odd, sizeof odd)), 0xfeff);
}

class WdogFiles : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(mkdtemp(folder_) != nullptr && wdog::use_folder(folder_)); }
  void TearDown() override {
    for (const wdog::File file : {wdog::File::settings, wdog::File::history}) unlink(path_of(file));
    unsetenv("ZOLARC_VALUE_STORE");
    rmdir(folder_);
  }
  static bool is_on(const std::string &settings) {
    std::ofstream(path_of(wdog::File::settings)) << settings;
    wdog::PingSettings read;
    read_ping_settings(read);
    return read.is_on();
  }
  char folder_[20] = "/tmp/zolarc-XXXXXX";
};

TEST_F(WdogFiles, OneIllegalSettingSwitchesTheWatchdogOff) {
  testing::internal::CaptureStderr();
  const std::string legal = "[ping]\nfailures=3\ntargets=192.0.2.1  ap.example fe80::1%eth0\n";
  EXPECT_TRUE(is_on(legal));
  EXPECT_TRUE(is_on(legal + "interval=3600\ntimeout=60\ngrace=0\nlimit=0\naction=script\nscript=/bin/x\n"));
  for (const char *wrong : {"interval=0", "interval=3601", "interval=5s", "interval=", "timeout=61", "grace=3601",
                            "limit=101", "action=", "action=halt", "action=script", "script=x", "script=/a\tb"}) {
    EXPECT_FALSE(is_on(legal + wrong)) << wrong;
  }
  for (const char *wrong : {"", "failures=3\n", "[ping]\nfailures=3\n", "[ping]\nfailures=101\ntargets=a\n",
                            "[ping]\nfailures=1\ntargets=a b c d e\n", "[ping]\nfailures=1\ntargets=$(x)\n"}) {
    EXPECT_FALSE(is_on(wrong)) << wrong;
  }
  EXPECT_NE(testing::internal::GetCapturedStderr().find("illegal value of interval"), std::string::npos);
}

TEST_F(WdogFiles, MakesTheSettingsWithTheirPresets) {
  ASSERT_TRUE(wdog::make_settings_file());
  wdog::PingSettings settings;
  read_ping_settings(settings);
  EXPECT_FALSE(settings.is_on());
  EXPECT_TRUE(settings.interval == 60 && settings.timeout == 5 && settings.grace == 300 && settings.limit == 3);
  ASSERT_TRUE(write_ping_setting(wdog::ping_settings[0], "7"));
  std::ostringstream text;
  text << std::ifstream(path_of(wdog::File::settings)).rdbuf();
  EXPECT_NE(text.str().find("the watchdog is off.\nfailures=7\n# Who"), std::string::npos);
}

TEST_F(WdogFiles, RebootsAreCountedAcrossBoots) {
  const wdog::Moment now{1000, 0, 50};
  EXPECT_EQ(wdog::read_history().count, 0);
  EXPECT_TRUE(wdog::note_reboot(now, "first", 990, false));
  EXPECT_TRUE(wdog::note_reboot(now, "second", 0, true));
  EXPECT_TRUE(wdog::note_script(now) && wdog::note_script({1100, 0, 150}));
  wdog::History history = wdog::read_history();
  EXPECT_TRUE(history.count == 2 && history.last == 1000 && history.due == 990);
  EXPECT_STREQ(history.reason.data(), "second");
  EXPECT_FALSE(wdog::has_script_run({1200, 0, 20})) << "it has been started since";
  EXPECT_TRUE(wdog::clear_count());
  EXPECT_EQ(wdog::read_history().count, 0);
  std::ofstream(path_of(wdog::File::history)) << "reboots=many\n";
  EXPECT_GT(wdog::read_history().count, 100);
}

}  // namespace
