#pragma once

#include <cstdlib>
#include <cstring>

namespace wdog {

/// A text of any length in memory of its own.
class Text {
 public:
  Text() = default;
  Text(const Text &) = delete;
  Text &operator=(const Text &) = delete;
  ~Text() { free(bytes_); }

  [[nodiscard]] const char *get() const { return bytes_ == nullptr ? "" : bytes_; }
  [[nodiscard]] bool is(const char *text) const { return strcmp(get(), text) == 0; }
  /// False, and the old text, without memory.
  bool set(const char *text) { return set(text, strlen(text)); }
  bool set(const char *text, size_t length) {
    auto *copy = static_cast<char *>(malloc(length + 1));
    if (copy == nullptr) return false;
    memcpy(copy, text, length);
    copy[length] = '\0';
    free(bytes_);
    bytes_ = copy;
    return true;
  }

 private:
  char *bytes_ = nullptr;
};

}  // namespace wdog
