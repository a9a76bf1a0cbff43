#include "core/conf_text.hpp"

#include <cstring>

namespace zol {

namespace {

constexpr std::string_view blanks = " \t\n\v\f\r";

bool is_blank(char character) { return blanks.find(character) != std::string_view::npos; }

std::string_view trim(std::string_view text) {
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  return text;
}

}  // namespace

ConfLine parse_conf_line(std::string_view line, bool sectioned) {
  const size_t end = line.find('\0');
  if (end != std::string_view::npos) line.remove_suffix(line.size() - end);
  line = trim(line);
  if (line.empty() || line.front() == '#' || line.front() == ';') return {};
  const size_t bracket = line.rfind(']');
  if (sectioned && line.front() == '[' && bracket != std::string_view::npos) {
    return {ConfLine::Kind::section, trim({line.data() + 1, bracket - 1}), {}};
  }
  const size_t equals = line.find('=');
  if (equals == std::string_view::npos) return {};
  std::string_view value(line.data() + equals + 1, line.size() - equals - 1);
  while (!value.empty() && is_blank(value.front())) value.remove_prefix(1);
  return {ConfLine::Kind::key, trim({line.data(), equals}), value};
}

size_t ConfText::end_of_line(size_t at) const {
  const void *newline = at < size_ ? memchr(text_ + at, '\n', size_ - at) : nullptr;
  return newline == nullptr ? size_ : static_cast<size_t>(static_cast<const char *>(newline) - text_) + 1;
}

std::optional<ConfText::Region> ConfText::find_section(std::string_view section) const {
  std::optional<Region> found;
  if (section.empty()) found = Region{0, size_};
  for (size_t at = 0, next = 0; at < size_; at = next) {
    next = end_of_line(at);
    const ConfLine line = parse_conf_line({text_ + at, next - at}, sectioned_);
    if (line.kind != ConfLine::Kind::section) continue;
    if (found) return Region{found->begin, at};
    if (line.name == section) found = Region{next, size_};
  }
  return found;
}

std::optional<std::string_view> ConfText::find(std::string_view section, std::string_view key) const {
  const std::optional<Region> region = find_section(section);
  if (!region) return std::nullopt;
  for (size_t at = region->begin, next = 0; at < region->end; at = next) {
    next = end_of_line(at);
    const ConfLine line = parse_conf_line({text_ + at, next - at}, sectioned_);
    if (line.kind == ConfLine::Kind::key && line.name == key) return line.value;
  }
  return std::nullopt;
}

/// Behind the last key; without one, behind the comment that the section begins with.
size_t ConfText::place_for_key(Region region) const {
  size_t place = region.begin;
  bool in_comment = true;
  for (size_t at = region.begin, next = 0; at < region.end; at = next) {
    next = end_of_line(at);
    const std::string_view line = trim({text_ + at, next - at});
    in_comment = in_comment && !line.empty() && (line.front() == '#' || line.front() == ';');
    if (in_comment || parse_conf_line(line, sectioned_).kind == ConfLine::Kind::key) place = next;
  }
  return place;
}

bool ConfText::replace(size_t at, size_t length, std::string_view by) {
  if (size_ - length + by.size() > capacity_) return false;
  memmove(text_ + at + by.size(), text_ + at + length, size_ - at - length);
  if (!by.empty()) memcpy(text_ + at, by.data(), by.size());
  size_ = size_ - length + by.size();
  return true;
}

/// Adds a line of three parts at the beginning of a line, or at the end of the text.
bool ConfText::add_line(size_t at, std::string_view first, std::string_view second, std::string_view third) {
  // The line before tells how lines end; at the very beginning the first one does.
  size_t newline = at;
  if (newline > 0 && text_[newline - 1] == '\n') {
    --newline;
  } else {
    newline = end_of_line(0) - (size_ == 0 ? 0 : 1);
  }
  const bool returns = newline > 0 && newline < size_ && text_[newline] == '\n' && text_[newline - 1] == '\r';
  const std::string_view line_end = returns ? "\r\n" : "\n";
  if (size_ + first.size() + second.size() + third.size() + line_end.size() > capacity_) return false;
  // A last line without an end stays without one: it is now another.
  const bool leads = at == size_ && size_ > 0 && text_[size_ - 1] != '\n';
  if (leads) replace(at, 0, line_end);
  if (leads) at += line_end.size();
  for (const std::string_view part : {first, second, third}) {
    replace(at, 0, part);
    at += part.size();
  }
  if (!leads) replace(at, 0, line_end);
  return true;
}

bool ConfText::add_section(std::string_view section) {
  return has_section(section) || add_line(size_, "[", section, "]");
}

bool ConfText::set(std::string_view section, std::string_view key, std::string_view value) {
  if (const auto found = find(section, key)) {
    return *found == value || replace(static_cast<size_t>(found->data() - text_), found->size(), value);
  }
  if (!add_section(section)) return false;
  return add_line(place_for_key(*find_section(section)), key, "=", value);
}

void ConfText::remove(std::string_view section, std::string_view key) {
  const std::optional<Region> region = find_section(section);
  if (!region) return;
  size_t end = region->end;
  for (size_t at = region->begin; at < end;) {
    const size_t length = end_of_line(at) - at;
    const ConfLine line = parse_conf_line({text_ + at, length}, sectioned_);
    if (line.kind == ConfLine::Kind::key && line.name == key) {
      replace(at, length, {});
      end -= length;
    } else {
      at += length;
    }
  }
}

}  // namespace zol
