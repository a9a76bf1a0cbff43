#include "core/conf_file.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "core/text.hpp"

namespace {

class ConfFileTest : public testing::Test {
 protected:
  void SetUp() override { close(mkstemp(path_)); }
  void TearDown() override { unlink(path_); }
  ConfFile *open(const std::string &text) {
    std::ofstream(path_) << text;
    return confOpen(path_);
  }
  char path_[24] = "/tmp/zolarc-XXXXXX";
};

TEST_F(ConfFileTest, ReadsAKeyOfTheSelectedSection) {
  ConfFile *file = open(
      "kernel.panic=3\n"
      "# MODE=comment\n"
      "[wlan0]\n"
      "  MODE = 1  \n"
      ";DEVICE=comment\n"
      "DEVICE=ath0=a b\n"
      "DEVICE=again\n"
      "EMPTY=\n"
      "no value\n"
      "\n"
      "[ wlan1 ]\r\n"
      "DEVICE=ath1\r\n"
      "[wlan0]\n"
      "LATE=1\n"
      "[wlan10]\n"
      "LAST=end");
  ASSERT_NE(file, nullptr);
  struct Case {
    const char *section;
    const char *key;
    const char *value;
  };
  // "old" stands for a key that is not there.
  const Case cases[] = {
      {"wlan0", "MODE", "1"},       {"wlan0", "DEVICE", "ath0=a b"},  {"wlan0", "EMPTY", ""},
      {"wlan0", "no value", "old"}, {"wlan0", "kernel.panic", "old"}, {"wlan0", "mode", "old"},
      {"wlan0", "LATE", "old"},     {"wlan1", "DEVICE", "ath1"},      {"wlan1", "MODE", "old"},
      {"wlan10", "LAST", "end"},
  };
  char value[128] = "old";
  EXPECT_EQ(confRead(file, "kernel.panic", value, sizeof value), 0) << "before the first section";
  EXPECT_STREQ(value, "3");
  EXPECT_EQ(confRead(file, "MODE", value, sizeof value), -1);
  for (const Case &expected : cases) {
    zol::copy_text(value, "old");
    EXPECT_EQ(confSection(file, expected.section), 0);
    const int result = confRead(file, expected.key, value, sizeof value);
    EXPECT_STREQ(value, expected.value) << expected.section << " " << expected.key;
    EXPECT_EQ(result, strcmp(expected.value, "old") == 0 ? -1 : 0);
  }
  EXPECT_EQ(confSection(file, "wlan2"), -1);
  EXPECT_EQ(confRead(file, "LAST", value, sizeof value), 0) << "the old selection stands";
  EXPECT_EQ(confSection(file, std::string(100, 'x').c_str()), -1);
  confClose(file);
}

TEST_F(ConfFileTest, BoundsWhatItReads) {
  ConfFile *file = open("[s]\nKEY=" + std::string(3000, 'v') + "\nNEXT=1\n");
  char value[8];
  EXPECT_EQ(confSection(file, "s"), 0);
  EXPECT_EQ(confRead(file, "KEY", value, sizeof value), 0);
  EXPECT_STREQ(value, "vvvvvvv");
  EXPECT_EQ(confRead(file, "NEXT", value, sizeof value), 0);
  EXPECT_STREQ(value, "1");
  confClose(file);
}

TEST_F(ConfFileTest, FindsAFileByItsAlias) {
  EXPECT_EQ(confOpen("radios"), nullptr);
  EXPECT_EQ(confAlias("/nowhere", "radios"), 0);
  EXPECT_EQ(confOpen("radios"), nullptr);
  EXPECT_EQ(confAlias(path_, "radios"), 0) << "moved";
  confClose(open("KEY=1\n"));
  ConfFile *file = confOpen("radios");
  char value[8];
  EXPECT_EQ(confRead(file, "KEY", value, sizeof value), 0);
  confClose(file);
  EXPECT_EQ(confAlias("/x", std::string(32, 'a').c_str()), -1);
  EXPECT_EQ(confAlias(std::string(128, 'p').c_str(), "long"), -1);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(confAlias("/x", std::to_string(i).c_str()), 0);
  EXPECT_EQ(confAlias("/x", "one too many"), -1);
  EXPECT_EQ(confAlias("/y", "0"), 0);
  EXPECT_EQ(confOpen(""), nullptr);
}

}  // namespace
