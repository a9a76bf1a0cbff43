#include "uci/model.hpp"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace uci {

namespace {

uint32_t hash_of_type(std::string_view type) {
  uint32_t hash = 5381;
  for (const char c : type) hash = hash * 33 + static_cast<unsigned char>(c);
  return hash & 0x7fffffff;
}

template <typename Container>
auto find_by_name(Container &items, std::string_view name) {
  const auto found = std::find_if(items.begin(), items.end(), [&](const auto &item) { return item.name == name; });
  return found == items.end() ? nullptr : &*found;
}

template <typename Accepted>
bool all_of(std::string_view text, Accepted accepted) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [&](char c) { return accepted(static_cast<unsigned char>(c)); });
}

bool valid_value(std::string_view text) {
  return std::none_of(text.begin(), text.end(), [](char c) {
    const bool line_end = c == '\n' || c == '\r';
    return (line_end && !newer) || (static_cast<unsigned char>(c) < ' ' && c != '\t' && !line_end);
  });
}

}  // namespace

Option *Section::find(std::string_view option) { return find_by_name(options, option); }

void Section::erase(const Option &option) { options.erase(options.begin() + (&option - options.data())); }

Option &Section::place_for(std::string_view option) {
  Option *present = find(option);
  if (present != nullptr && newer) return *present;
  // What changes moves to the section's end.
  Option moved = present == nullptr ? Option{std::string(option), false, {}} : std::move(*present);
  if (present != nullptr) erase(*present);
  return options.emplace_back(std::move(moved));
}

bool Section::set(std::string_view option, std::string value) {
  const Option *present = find(option);
  if (present != nullptr && !present->is_list && present->values[0] == value) return false;
  Option &target = place_for(option);
  target.is_list = false;
  target.values = {std::move(value)};
  return true;
}

void Section::add(std::string_view option, std::string value) {
  Option *target = find(option);
  if (target == nullptr || !target->is_list) target = &place_for(option);
  target->is_list = true;
  target->values.push_back(std::move(value));
}

Section *Package::find(std::string_view section) { return find_by_name(sections_, section); }

Section *Package::find_by_position(const std::string &text) {
  const size_t open = text.find('[');
  const size_t close = text.find(']', open == std::string::npos ? 0 : open);
  if (!text.starts_with('@') || open == std::string::npos || close != text.size() - 1) throw invalid_argument();
  const std::string type = text.substr(1, open - 1);
  const std::string digits = text.substr(open + 1, close - open - 1);
  char *end = nullptr;
  long index = strtol(digits.c_str(), &end, 10);
  if (*end != '\0' || (!type.empty() && !valid_type(type))) throw invalid_argument();
  std::vector<Section *> candidates;
  for (Section &section : sections_) {
    if (type.empty() || section.type == type) candidates.push_back(&section);
  }
  const auto count = static_cast<long>(candidates.size());
  if (index < 0) index += count;
  return index >= 0 && index < count ? candidates[static_cast<size_t>(index)] : nullptr;
}

std::string Package::reference(const Section &section) const {
  if (!section.anonymous) return section.name;
  int index = 0;
  for (const Section &other : sections_) {
    if (&other == &section) break;
    // The older command counts anonymous sections alone here, though `@type[n]` means all of a type everywhere else.
    if (other.type == section.type && (other.anonymous || newer)) ++index;
  }
  return "@" + section.type + "[" + std::to_string(index) + "]";
}

Section &Package::add_named(std::string_view type, std::string_view section) {
  ++counter_;
  return sections_.emplace_back(Section{std::string(type), std::string(section), false, {}});
}

Section &Package::add_anonymous(std::string_view type) {
  counter_ += newer ? 1 : 2;
  char made_up[24];
  snprintf(made_up, sizeof made_up, "cfg%02x%04x", counter_, hash_of_type(type) % 0x10000);
  return sections_.emplace_back(Section{std::string(type), made_up, true, {}});
}

bool valid_name(std::string_view text) {
  return all_of(text, [](int c) { return isalnum(c) != 0 || c == '_'; });
}

bool valid_type(std::string_view text) {
  return all_of(text, [](int c) { return c > ' ' && c < 127; });
}

Reference Reference::parse(std::string_view text) {
  Reference result;
  const size_t equals = text.find('=');
  if (equals != std::string_view::npos) result.value = text.substr(equals + 1);
  std::vector<std::string> parts;
  for (std::string_view rest = text.substr(0, equals);;) {
    const size_t dot = rest.find('.');
    parts.emplace_back(rest.substr(0, dot));
    if (dot == std::string_view::npos) break;
    rest = rest.substr(dot + 1);
  }
  result.package = parts[0];
  if (parts.size() > 1) result.section = parts[1];
  if (parts.size() > 2) result.option = parts[2];
  if (parts.size() > 3 || !valid_type(result.package) || (result.option && !valid_name(*result.option)) ||
      (result.value && !valid_value(*result.value))) {
    throw parse_error();
  }
  return result;
}

}  // namespace uci
