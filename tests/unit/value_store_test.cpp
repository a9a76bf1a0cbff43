#include "core/value_store.hpp"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

namespace {

/// The system call that fails, counted from the next one; none at 0 or below.
int calls_to_failure = 0;
bool read_failed = false;
bool wrote_after_failed_read = false;

/// Whether this call is the one that fails.
bool fails() {
  if (calls_to_failure <= 0 || --calls_to_failure > 0) return false;
  calls_to_failure = -1;
  errno = EIO;
  return true;
}

template <class Function>
Function *original(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

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
  const std::pair<const char *, std::string> cases[] = {
      {"no newline at the end", "0.3.1=kept"},
      {"a NUL in a line", std::string("0.3.9=a\0b\n0.3.1=kept\n", 21)},
      {"a line too long to be a text", std::string(600, 'x') + "0.3.2=no\n0.3.1=kept\n"},
      {"an empty line", "\n0.3.1=kept\n"}};
  for (const auto &[what, file] : cases) {
    SCOPED_TRACE(what);
    std::ofstream(path()) << file;
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

TEST_F(ValueStore, AFailureAnywhereLosesNothing) {
  const std::string other(255, 'x');
  bool failed = true;
  for (int call = 1; failed; ++call) {
    SCOPED_TRACE(call);
    ASSERT_EQ(snmp_write2file("0.3.1", other.c_str()), 0);
    ASSERT_EQ(snmp_write2file("0.3.3", "old"), 0);
    calls_to_failure = call;
    const int result = snmp_write2file("0.3.3", "new");
    failed = calls_to_failure <= 0;
    calls_to_failure = 0;
    read_failed = false;
    EXPECT_FALSE(std::exchange(wrote_after_failed_read, false));
    EXPECT_EQ(read("0.3.1"), other);
    EXPECT_EQ(read("0.3.3"), result == 0 ? "new" : "old");
    ASSERT_LT(call, 50);
  }
  EXPECT_FALSE(fs::exists(folder_ / "values.new"));
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
  std::ifstream store(path());
  EXPECT_EQ(std::count(std::istreambuf_iterator<char>(store), {}, '\n'), writers * texts);
}

}  // namespace

// The system calls of the store, which fail where a test wants it.

extern "C" {

int open(const char *path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = static_cast<mode_t>((flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0);
  va_end(arguments);
  return fails() ? -1 : original<int(const char *, int, ...)>("open")(path, flags, mode);
}

ssize_t read(int file, void *bytes, size_t count) {
  if (!fails()) return original<ssize_t(int, void *, size_t)>("read")(file, bytes, count);
  read_failed = true;
  return -1;
}

ssize_t write(int file, const void *bytes, size_t count) {
  if (read_failed && file != STDERR_FILENO) wrote_after_failed_read = true;
  return fails() ? -1 : original<ssize_t(int, const void *, size_t)>("write")(file, bytes, count);
}

int flock(int file, int operation) noexcept { return fails() ? -1 : original<int(int, int)>("flock")(file, operation); }
int fsync(int file) { return fails() ? -1 : original<int(int)>("fsync")(file); }
int close(int file) {
  const bool failing = fails();
  const int result = original<int(int)>("close")(file);
  return failing ? -1 : result;
}
int rename(const char *from, const char *to) noexcept {
  return fails() ? -1 : original<int(const char *, const char *)>("rename")(from, to);
}
}
