#include "uci/syntax.hpp"

#include <cctype>

namespace uci {

namespace {

bool is_blank(char c) { return c != '\n' && isspace(static_cast<unsigned char>(c)) != 0; }

/// Applies one statement of a configuration file; `section` is the one that options belong to.
void apply(const StatementReader &reader, const std::vector<std::string> &words, Package &package, size_t &section,
           bool &in_section) {
  const std::string &command = words[0];
  const auto expect = [&](size_t least, size_t most) {
    if (words.size() < least) throw reader.error("insufficient arguments");
    if (words.size() > most) throw reader.error("too many arguments");
  };
  if (command == "package") {
    expect(2, 2);
    return;
  }
  if (command == "config") {
    expect(2, 3);
    const std::string &type = words[1];
    if (!valid_type(type)) throw reader.error("invalid character in type field");
    Section *present = nullptr;
    if (words.size() == 3 && !words[2].empty()) {
      if (!valid_name(words[2])) throw reader.error("invalid character in name field");
      present = package.find(words[2]);
      if (present != nullptr && present->type != type) {
        throw reader.error("section of different type overwrites prior section with same name");
      }
      if (present == nullptr) present = &package.add_named(type, words[2]);
    } else {
      present = &package.add_anonymous(type);
    }
    section = static_cast<size_t>(present - package.sections().data());
    in_section = true;
    return;
  }
  if (command == "option" || command == "list") {
    expect(3, 3);
    if (!in_section) throw reader.error("option/list command found before the first section");
    if (!valid_name(words[1])) throw reader.error("invalid character in name field");
    Section &target = package.sections()[section];
    if (command == "list") {
      target.add(words[1], words[2]);
    } else if (!words[2].empty()) {
      // An option without text counts as one that is not there.
      target.set(words[1], words[2]);
    }
    return;
  }
  throw reader.error("invalid command");
}

}  // namespace

char StatementReader::take() {
  const char c = text_[position_++];
  if (c == '\n') {
    ++line_;
    line_start_ = position_;
  }
  return c;
}

Error StatementReader::error(std::string_view reason) const {
  return Error("Parse error (" + std::string(reason) + ") at line " + std::to_string(line_) + ", byte " +
               std::to_string(position_ - line_start_));
}

void StatementReader::skip_comment() {
  while (!at_end() && text_[position_] != '\n') ++position_;
}

void StatementReader::take_quoted(char quote, std::string &word) {
  for (;;) {
    if (at_end()) throw error(std::string("unterminated ") + quote);
    char c = take();
    if (c == quote) return;
    if (c == '\\' && quote == '"') {
      if (at_end()) continue;
      c = take();
      if (c == '\n') continue;
    }
    word += c;
  }
}

std::string StatementReader::take_word() {
  std::string word;
  while (!at_end()) {
    const char c = text_[position_];
    if (isspace(static_cast<unsigned char>(c)) != 0 || c == '#' || c == ';') break;
    ++position_;
    if (c == '\'' || c == '"') {
      take_quoted(c, word);
    } else if (c == '\\') {
      if (at_end()) break;
      const char escaped = take();
      if (escaped != '\n') word += escaped;
    } else {
      word += c;
    }
  }
  return word;
}

std::vector<std::string> StatementReader::next() {
  std::vector<std::string> words;
  while (!at_end()) {
    const char c = text_[position_];
    if (is_blank(c)) {
      ++position_;
    } else if (c == '\\' && position_ + 1 < text_.size() && text_[position_ + 1] == '\n') {
      ++position_;
      take();
    } else if (c == '#') {
      skip_comment();
    } else if (c == '\n' || c == ';') {
      // The line is counted with the next statement, so that a fault is reported where it stands.
      if (!words.empty()) return words;
      take();
    } else {
      words.push_back(take_word());
    }
  }
  return words;
}

void parse(std::string_view text, Package &package) {
  StatementReader reader(text);
  size_t section = 0;
  bool in_section = false;
  for (auto words = reader.next(); !words.empty(); words = reader.next()) {
    apply(reader, words, package, section, in_section);
  }
}

std::string quoted(std::string_view text) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
    } else {
      result += c;
    }
  }
  return result += '\'';
}

std::string format(const Package &package) {
  std::string text;
  for (const Section &section : package.sections()) {
    text += "\nconfig " + section.type;
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
