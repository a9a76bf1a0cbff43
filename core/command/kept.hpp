#pragma once

// What `uci show` and `uci get` have printed, kept for as long as the configuration is the one that they read.

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

namespace zol::kept {

/// A text on the heap that belongs to who holds it.
class Output {
 public:
  Output() = default;
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;
  ~Output();

  [[nodiscard]] const char *data() const { return data_; }
  [[nodiscard]] size_t size() const { return size_; }
  /// False, and everything as it was, when memory does not suffice.
  bool append(const char *data, size_t size);

 private:
  char *data_ = nullptr;
  size_t size_ = 0;
  size_t capacity_ = 0;
};

/// All that is kept, and what one output may have of it.
constexpr size_t most_bytes = 65536;

/// What a command reads, as it is now: the packages' files and the changes staged for them.
class Sources {
 public:
  /// `any()` is false for a command whose output is not to be kept.
  explicit Sources(const char *command);

  [[nodiscard]] bool any() const { return count_ > 0; }
  [[nodiscard]] bool operator==(const Sources &other) const = default;
  /// What tells them from others: a few dozen bytes a package, of which nearly every command reads one.
  [[nodiscard]] std::span<const char> bytes() const {
    return {reinterpret_cast<const char *>(states_), 2 * count_ * sizeof(State)};
  }
  /// Whether nothing has changed for so long that a change from now on would show in the files' times.
  [[nodiscard]] bool at_rest() const;

 private:
  struct State {
    uint64_t device, inode, size;
    int64_t modified, changed;
    int32_t modified_ns, changed_ns;
    bool operator==(const State &other) const = default;
  };
  static_assert(std::has_unique_object_representations_v<State>);
  static constexpr size_t most = 4;

  bool add_package(const char *name, size_t length);
  static State state_of(const char *folder, const char *name, size_t length);

  State states_[2 * most]{};
  size_t count_ = 0;
};

/// Copies what is kept for `command` to `output`. False when nothing is, or not for these sources.
bool find(const char *command, const Sources &sources, Output &output);

/// Keeps an output whose command has read these sources; the oldest ones make room.
void keep(const char *command, const Sources &sources, const Output &output);

/// Forgets everything.
void forget();

}  // namespace zol::kept
