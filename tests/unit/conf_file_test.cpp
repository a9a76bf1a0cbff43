#include "core/conf_file.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

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
  [[nodiscard]] std::string text() const {
    std::ostringstream held;
    held << std::ifstream(path_, std::ios::binary).rdbuf();
    return held.str();
  }
  char path_[24] = "/tmp/zolarc-XXXXXX";
};

TEST_F(ConfFileTest, ReadsAKeyOfTheSelectedSection) {
  ConfFile *file = open(
      "kernel.panic=3\n# MODE=comment\n"
      "[wlan0]\n  MODE = 1  \n;DEVICE=comment\nDEVICE=ath0=a b\nDEVICE=again\nEMPTY=\nno value\n\n"
      "[ wlan1 ]\r\nDEVICE=ath1\r\n[wlan0]\nLATE=1\n[wlan10]\nLAST=end");
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

TEST_F(ConfFileTest, ChangesNothingButWhatIsWritten) {
  struct Step {
    const char *section;
    const char *key;
    const char *value;
  };
  struct Case {
    const char *what;
    std::string before;
    std::vector<Step> steps;
    std::string after;
  };
  const std::string x9000(9000, 'x');
  // clang-format off
  const Case cases[] = {
      {"a value in its place", "# c\n[a]\n K =  old  \n?\n[b]\nK=x\n", {{"a", "K", "new"}}, "# c\n[a]\n K =  new  \n?\n[b]\nK=x\n"},
      {"an empty value", "[a]\r\nK=\r\nL = \r\n", {{"a", "K", "1"}, {"a", "L", "2"}}, "[a]\r\nK=1\r\nL =2 \r\n"},
      {"behind the last key", "[a]\nK=1\n\n# of b\n[b]\n", {{"a", "L", "2"}}, "[a]\nK=1\nL=2\n\n# of b\n[b]\n"},
      {"behind the comment of a section", "[a]\n# what\n\n[b]", {{"a", "L", ""}}, "[a]\n# what\nL=\n\n[b]"},
      {"before the first section", "; file\n\n[a]\nK=1", {{"", "K", "2"}}, "; file\nK=2\n\n[a]\nK=1"},
      {"line ends as they are", "[a]\r\nK=1", {{"a", "L", "2"}}, "[a]\r\nK=1\r\nL=2"},
      {"a new section", "K=1\n", {{"new", "K", "2"}, {"new", "L", "3"}}, "K=1\n[new]\nK=2\nL=3\n"},
      {"an empty file", "", {{"", "K", "2"}, {"s", "L", "3"}}, "K=2\n[s]\nL=3\n"},
      {"removal, of every line with the key", "[a]\nK=1\nL=2\nK=3\n[a]\nK=4\n", {{"a", "K", nullptr}}, "[a]\nL=2\n[a]\nK=4\n"},
      {"the last word counts", "K=1\n", {{"", "K", "2"}, {"", "K", nullptr}, {"", "K", "3"}}, "K=3\n"},
      {"a removed key that is not there", "K=1", {{"", "L", nullptr}}, "K=1"},
      {"a NUL", std::string("K=1\0 2\n", 7), {{"", "K", "3"}}, std::string("K=3\0 2\n", 7)},
      {"a long line", "K=" + x9000 + "\nL=1\n", {{"", "L", "2"}}, "K=" + x9000 + "\nL=2\n"},
  };
  // clang-format on
  for (const Case &expected : cases) {
    SCOPED_TRACE(expected.what);
    ConfFile *file = open(expected.before);
    for (const Step &step : expected.steps) {
      EXPECT_EQ(confAdd(file, step.section), *step.section == '\0' ? -1 : 0);
      ASSERT_EQ(confWrite(file, step.key, step.value), 0);
      char value[16] = "none";
      EXPECT_EQ(confRead(file, step.key, value, sizeof value), step.value == nullptr ? -1 : 0);
      EXPECT_STREQ(value, step.value == nullptr ? "none" : step.value);
    }
    EXPECT_EQ(text(), expected.before) << "before it is closed";
    EXPECT_EQ(confClose(file), 0);
    EXPECT_EQ(text(), expected.after);
  }
}

TEST_F(ConfFileTest, RefusesWhatWouldNotReadBackTheSame) {
  ConfFile *file = open("[a]\nK=1\n");
  ASSERT_EQ(confSection(file, "a"), 0);
  const char *pairs[][2] = {{"#K", "1"},  {";K", "1"},   {" K", "1"},  {"K=", "1"},  {"K", " 1"},  {"K", "1\t"},
                            {"K", "1\r"}, {"K", "1\n2"}, {"K\n", "1"}, {"[K", "1]"}, {"[K]", "1"}, {"\nK", nullptr}};
  for (const auto &[key, value] : pairs) EXPECT_EQ(confWrite(file, key, value), -1) << key;
  EXPECT_EQ(confWrite(file, "[K", "1"), 0) << "no section's name ends there";
  for (const char *name : {"", " b", "b\n", "b\n[c"}) EXPECT_EQ(confAdd(file, name), -1) << name;
  EXPECT_EQ(confAdd(file, std::string(64, 'x').c_str()), -1);
  char value[8];
  EXPECT_EQ(confRead(file, "K", value, sizeof value), 0) << "the old selection stands";
  EXPECT_EQ(confClose(file), 0);
  EXPECT_EQ(text(), "[a]\nK=1\n[K=1\n");
  EXPECT_EQ(confClose(nullptr), 0);
}

TEST_F(ConfFileTest, KnowsNoSectionsWhereThereAreNone) {
  confClose(open("[~] title=1\nK=2\n"));
  ConfFile *file = cfopen(path_);
  char value[8];
  EXPECT_EQ(cfread(file, "[~] title", value, sizeof value), 0);
  EXPECT_EQ(cfread(file, "K", value, sizeof value), 0);
  EXPECT_EQ(confAdd(file, "s"), -1);
  EXPECT_EQ(cfwrite(file, "[K]", "3"), 0);
  EXPECT_EQ(cfclose(file), 0);
  EXPECT_EQ(text(), "[~] title=1\nK=2\n[K]=3\n");
  EXPECT_EQ(cfopen("/nowhere"), nullptr);
}

TEST_F(ConfFileTest, WritesToTheFileAsItIsByThen) {
  const std::string link = std::string(path_) + ".link";
  ASSERT_EQ(symlink(path_, link.c_str()), 0);
  confClose(open("[a]\nK=1\n"));
  ASSERT_EQ(chmod(path_, 0640), 0);
  // Another owner is what only root can give.
  const uid_t owner = geteuid() == 0 ? 1 : geteuid();
  ASSERT_EQ(chown(path_, owner, static_cast<gid_t>(-1)), 0);
  ConfFile *file = confOpen(link.c_str());
  ASSERT_EQ(confSection(file, "a"), 0);
  ASSERT_EQ(confWrite(file, "K", "2"), 0);
  std::ofstream(path_) << "# somebody else's\nL=5\n";
  EXPECT_EQ(confClose(file), 0);
  EXPECT_EQ(text(), "# somebody else's\nL=5\n[a]\nK=2\n");
  struct stat status {};
  ASSERT_EQ(lstat(link.c_str(), &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  ASSERT_EQ(stat(path_, &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0640U);
  EXPECT_EQ(status.st_uid, owner);

  file = confOpen(link.c_str());
  const ino_t before = status.st_ino;
  EXPECT_EQ(confWrite(file, "L", "5"), 0);
  EXPECT_EQ(confClose(file), 0);
  ASSERT_EQ(stat(path_, &status), 0);
  EXPECT_EQ(status.st_ino, before) << "it said so already";

  file = confOpen(link.c_str());
  EXPECT_EQ(confWrite(file, "L", "6"), 0);
  unlink(path_);
  EXPECT_EQ(confClose(file), -1);
  unlink(link.c_str());
}

TEST_F(ConfFileTest, WritersAtOnceLoseNothing) {
  confClose(open(""));
  constexpr int writers = 4;
  constexpr int rounds = 25;
  for (int writer = 0; writer < writers; ++writer) {
    if (fork() != 0) continue;
    for (int round = 0; round < rounds; ++round) {
      ConfFile *file = cfopen(path_);
      const std::string key = std::to_string(writer) + "." + std::to_string(round);
      if (file == nullptr || cfwrite(file, key.c_str(), "1") != 0 || cfclose(file) != 0) _exit(1);
    }
    _exit(0);
  }
  for (int writer = 0; writer < writers; ++writer) {
    int status = 0;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  const std::string all = text();
  EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), writers * rounds);
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
