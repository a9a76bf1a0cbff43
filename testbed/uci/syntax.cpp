#include "uci/syntax.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "uci/change.hpp"

namespace uci {

namespace {

bool is_space(char c) { return isspace(static_cast<unsigned char>(c)) != 0; }
bool is_blank(char c) { return c == ' ' || c == '\t'; }

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
    } else {
      result += c;
    }
  }
  return result;
}

/// A section is meant by its place: adding another may move all of them.
constexpr size_t none = static_cast<size_t>(-1);

size_t begin_section(LineWords &words, Package &package) {
  words.begin_arguments("config without name");
  const std::string type = words.next_word(true, false);
  if (!valid_type(type)) {
    throw words.error_at_word(newer ? "invalid character in type field" : "invalid character in field");
  }
  const std::string name = words.next_word(false, true);
  words.expect_end();
  if (name.empty()) {
    package.add_anonymous(type);
    return package.sections().size() - 1;
  }
  if (const Section *present = newer ? package.find(name) : nullptr; present != nullptr && present->type != type) {
    throw words.error("section of different type overwrites prior section with same name");
  }
  apply({Change::Kind::set, name, {}, type}, package);
  return static_cast<size_t>(package.find(name) - package.sections().data());
}

void read_option(LineWords &words, Package &package, size_t section, bool is_list) {
  if (section == none) throw words.error_at_word("option/list command found before the first section");
  words.begin_arguments("option without name");
  const std::string name = words.next_word(true, true);
  const std::string value = words.next_word(false, false);
  words.expect_end();
  Section &target = package.sections()[section];
  if (is_list) {
    target.add(name, value);
  } else if (!value.empty()) {
    // An option without text counts as one that is not there.
    target.set(name, value);
  }
}

}  // namespace

char &LineWords::at(size_t position) {
  if (position >= buffer_.size()) buffer_.resize(position + 1);
  return buffer_[position];
}

Error LineWords::error(const std::string &reason, size_t position) const {
  return parse_error(" (" + reason + ") at line " + std::to_string(line_) + ", byte " + std::to_string(position));
}

void LineWords::read(size_t offset) {
  constexpr size_t longest_line = 4096;
  if (newer) {
    if (offset >= capacity_ - 1) capacity_ *= 2;
    at(offset) = '\0';
  }
  for (size_t end = offset;;) {
    // The older command means to end the text where it goes on; what it ends shows in a last line without a newline.
    if (!newer) at(2 * end) = '\0';
    const size_t room = capacity_ > end ? capacity_ - end - 1 : 0;
    const size_t newline = text_.substr(0, room).find('\n');
    const size_t count = newline == std::string_view::npos ? std::min(room, text_.size()) : newline + 1;
    if (count == 0) return;
    at(end + count) = '\0';
    text_.copy(&at(end), count);
    text_.remove_prefix(count);
    end += count;
    filled_ = end;
    if (at(end - 1) == '\n') {
      ++line_;
      if (newer) return;
      at(end - 1) = '\0';
      if (end >= 2 && at(end - 2) == '\r') at(end - 2) = '\0';
      return;
    }
    if (!newer && capacity_ > longest_line / 2) throw error("line too long", end - count);
    capacity_ *= 2;
  }
}

void LineWords::next_line() {
  position_ = 0;
  at(0) = '\0';
  read(0);
  if (newer) skip_blanks();
}

std::string LineWords::next_change() {
  position_ = 0;
  at(0) = '\0';
  read(0);
  if (!newer) return buffer_.substr(0, buffer_.find('\0'));
  std::string word = next_word(false, false);
  if (current() != '\0') throw parse_error();
  return word;
}

std::string LineWords::next_command() {
  word_ = position_;
  while (is_blank(at(word_))) ++word_;
  command_end_ = word_;
  while (at(command_end_) != '\0' && !is_blank(at(command_end_))) ++command_end_;
  at(command_end_) = '\0';
  if (at(word_) == '#') return {};
  return &at(word_);
}

void LineWords::begin_arguments(const char *missing) {
  if (newer && command_end_ + 1 > filled_) throw error(missing);
  position_ = command_end_ + 1;
}

bool LineWords::take_backslash() {
  ++position_;
  const bool line_ends =
      newer ? current() == '\0' || current() == '\n' || strcmp(&current(), "\r\n") == 0 : current() == '\0';
  if (!line_ends) return true;
  if (!newer) ++position_;
  read(position_);
  return false;
}

void LineWords::skip_blanks() {
  for (;;) {
    while (is_space(current())) ++position_;
    if (newer || current() != '\\' || take_backslash()) return;
  }
}

void LineWords::take(size_t &target) {
  at(target) = current();
  ++target;
  ++position_;
}

void LineWords::take_quoted(char quote, size_t &target) {
  for (++position_; current() != quote;) {
    if (current() == '\0') {
      if (!newer) throw error(std::string("unterminated ") + quote);
      read(position_);
      if (current() == '\0') throw error(std::string("EOF with unterminated ") + quote);
    } else if (current() == '\\' && quote == '"') {
      if (take_backslash()) take(target);
    } else {
      take(target);
    }
  }
  ++position_;
}

void LineWords::take_word(size_t target) {
  bool skips = true;
  do {
    const char c = current();
    if (c == '#') current() = '\0';
    if (c == ';') skips = false;
    if (c == '#' || c == ';' || c == '\0') break;
    if (c == '\'' || c == '"') {
      take_quoted(c, target);
    } else if (c != '\\' || take_backslash()) {
      take(target);
    }
  } while (current() != '\0' && !is_space(current()));
  if (current() != '\0' && skips) ++position_;
  at(target) = '\0';
}

std::string LineWords::next_word(bool required, bool name) {
  word_ = position_;
  skip_blanks();
  if (newer) word_ = position_;
  if (current() == ';') {
    current() = '\0';
    ++position_;
  } else {
    take_word(word_);
  }
  std::string word = &at(word_);
  if (word.empty()) {
    if (required) throw error("insufficient arguments");
  } else if (name && !valid_name(word)) {
    throw error_at_word(newer ? "invalid character in name field" : "invalid character in field");
  }
  return word;
}

void LineWords::expect_end() {
  skip_blanks();
  if (!next_word(false, false).empty()) throw error("too many arguments");
}

void parse(std::string_view text, Package &package) {
  LineWords words(text);
  size_t section = none;
  while (!words.at_end()) {
    words.next_line();
    for (std::string command = words.next_command(); !command.empty(); command = words.next_command()) {
      if (command == "config" || command == "c") {
        section = begin_section(words, package);
      } else if (command == "option" || command == "o" || command == "list" || command == "l") {
        read_option(words, package, section, command[0] == 'l');
      } else if (command == "package" || command == "p") {
        words.begin_arguments("package without name");
        words.next_word(true, true);
        words.expect_end();
      } else {
        throw words.error_at_word("invalid command");
      }
    }
  }
}

std::string quoted(std::string_view text) { return "'" + escaped(text) + "'"; }

std::string format(const Package &package) {
  std::string text;
  for (const Section &section : package.sections()) {
    text += "\nconfig " + escaped(section.type);
    if (!section.anonymous) text += " " + quoted(section.name);
    text += '\n';
    for (const Option &option : section.options) {
      for (const std::string &value : option.values) {
        text += (option.is_list ? "\tlist " : "\toption ") + option.name + " " + quoted(value) + "\n";
      }
    }
  }
  text += '\n';
  return text;
}

}  // namespace uci
