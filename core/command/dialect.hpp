#pragma once

#include <cstddef>
#include <optional>

// What `uci show` prints differs between the years: "wireless.wifi0.channel=6" was followed by
// "wireless.wifi0.channel='6'", and lists by "system.ntp.server='0.pool.example.net' '1.pool.example.net'". The objects
// read the first; here the second is brought to it.

namespace zol {

/// What the device's `uci show` prints. Plain until something else is found out; ZOLARC_UCI in the environment, "plain"
/// or "quoted", says it beforehand.
enum class UciDialect { plain, quoted };

UciDialect uci_dialect();

/// Whether the environment says that it is the plain one.
bool uci_is_told_plain();

/// Notes what has been found out. The environment goes before it.
void set_uci_dialect(UciDialect dialect);

/// Takes the quotes out of what a `uci show` prints, piece by piece as it comes: the value between its quotes is left,
/// with "'\''" turned to "'", and the items of a list stay apart by one blank. What is no quoted value, as the lines
/// that tell a section's type, passes as it is.
class Unquoter {
 public:
  /// One that has nothing to do.
  Unquoter() = default;

  /// Makes one for the output of a command line, which has nothing to do unless that begins with `uci show`, and the
  /// device's is quoted.
  explicit Unquoter(const char *command);

  /// Brings the next `count` bytes of the output to the plain form, in place. @return how many they are then
  size_t apply(char *bytes, size_t count);

 private:
  enum class State {
    idle,
    name,      // up to the "="
    start,     // just behind it
    other,     // the rest of a line that holds no quoted value
    quoted,    // within quotes
    unquoted,  // between or behind them
    escaped,   // behind a backslash there
  };

  /// What becomes of a byte, if anything is left of it.
  std::optional<char> step(char byte);

  State state_ = State::idle;
  /// A value may hold newlines. They become blanks, but behind a filter, where its lines are torn apart.
  bool filtered_ = false;
};

}  // namespace zol
