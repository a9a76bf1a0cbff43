#include "core/value_store.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

class ValueStore : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "zolarc-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    setenv("ZOLARC_VALUE_STORE", path().c_str(), 1);
  }
  void TearDown() override { fs::remove_all(folder_); }
  [[nodiscard]] fs::path path() const { return folder_ / "values"; }
  static std::string read(const char *key) {
    char text[256] = "rubbish";
    EXPECT_EQ(snmp_read2file(key, text), 0);
    return text;
  }
  fs::path folder_;
};

TEST_F(ValueStore, KeepsTextsAsTheyAre) {
  EXPECT_EQ(read("0.3.1"), "");
  const std::string texts[] = {"plain", "with blanks and = signs", "two\nlines", "back\\slash\\n",
                               "",      std::string(255, 'x')};
  for (const std::string &text : texts) {
    EXPECT_EQ(snmp_write2file("0.3.1", text.c_str()), 0);
    EXPECT_EQ(snmp_write2file("0.3.19", "other"), 0);
    EXPECT_EQ(read("0.3.1"), text);
    EXPECT_EQ(read("0.3.19"), "other");
    EXPECT_EQ(read("0.3"), "") << "a key is not found by its beginning";
  }
  char small[4];
  zol::read_value("0.3.19", small);
  EXPECT_STREQ(small, "oth");
  struct stat status {};
  ASSERT_EQ(stat(path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U) << "it holds a password";
}

TEST_F(ValueStore, KeepsTheTextsOfAFileThatSomebodyEdited) {
  struct Case {
    const char *what;
    std::string file;
  };
  const Case cases[] = {{"no newline at the end", "0.3.1=kept"},
                        {"a NUL in a line", std::string("0.3.9=a\0b\n0.3.1=kept\n", 21)},
                        {"a line too long to be a text", std::string(600, 'x') + "0.3.2=no\n0.3.1=kept\n"},
                        {"an empty line", "\n0.3.1=kept\n"}};
  for (const Case &expected : cases) {
    SCOPED_TRACE(expected.what);
    std::ofstream(path()) << expected.file;
    EXPECT_EQ(read("0.3.2"), "");
    EXPECT_EQ(snmp_write2file("0.3.3", "new"), 0);
    EXPECT_EQ(read("0.3.1"), "kept");
    EXPECT_EQ(read("0.3.3"), "new");
  }
}

TEST_F(ValueStore, RefusesWhatItCannotKeepAndLosesNothing) {
  ASSERT_EQ(snmp_write2file("0.3.1", "kept"), 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(snmp_write2file("0.3.1", std::string(256, 'x').c_str()), -1);
  EXPECT_EQ(snmp_write2file("a=b", "x"), -1);
  EXPECT_EQ(snmp_write2file("", "x"), -1);
  setenv("ZOLARC_VALUE_STORE", (folder_ / "missing" / "values").c_str(), 1);
  EXPECT_EQ(snmp_write2file("0.3.1", "x"), -1);
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
  setenv("ZOLARC_VALUE_STORE", path().c_str(), 1);
  EXPECT_EQ(read("0.3.1"), "kept");
}

TEST_F(ValueStore, TwoWritersAtOnceLoseNothing) {
  constexpr int writers = 4;
  constexpr int texts = 40;
  for (int writer = 0; writer < writers; ++writer) {
    if (fork() == 0) {
      for (int i = 0; i < texts; ++i) {
        if (snmp_write2file(("1." + std::to_string(writer) + "." + std::to_string(i)).c_str(), "text") != 0) _exit(1);
      }
      _exit(0);
    }
  }
  for (int writer = 0; writer < writers; ++writer) {
    int status = 0;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  for (int writer = 0; writer < writers; ++writer) {
    for (int i = 0; i < texts; ++i) {
      EXPECT_EQ(read(("1." + std::to_string(writer) + "." + std::to_string(i)).c_str()), "text");
    }
  }
}

}  // namespace
