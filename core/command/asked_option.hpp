#pragma once

#include <cstddef>

namespace zol {

/// The option that a command asks for, where it asks for one alone: "uci show [-q] package.section.option".
///
/// The `uci` of old devices answers such a question about what is missing with all of the section, or, when that is
/// missing too, with all of the package: lines that begin with a section's head, as "qos.wan=interface". What stands in
/// them about other options and sections is no answer.
class AskedOption {
 public:
  /// None: every line may be an answer.
  AskedOption() = default;

  /// Takes the question from a command text, which must stay as long as this.
  explicit AskedOption(const char *command);

  /// Whether a line, whose beginning is given, is about something else of the asked package: a section's head, or,
  /// behind such a head, another option, or the same option of another section. Any other line may be an answer, also
  /// one that looks like nothing that `uci` prints. Lines are looked at in their order.
  bool is_other(const char *line);

 private:
  struct Part {
    const char *text = nullptr;
    size_t length = 0;

    [[nodiscard]] bool is(const char *other, size_t other_length) const;
  };

  Part package_;
  Part section_;
  Part option_;
  bool in_dump_ = false;
};

}  // namespace zol
