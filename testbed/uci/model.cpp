#include "uci/model.hpp"

#include <algorithm>
#include <cctype>
#include <cstdio>

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

}  // namespace

std::string Option::text() const {
  std::string joined;
  for (size_t i = 0; i < values.size(); ++i) {
    if (i > 0) joined += ' ';
    joined += values[i];
  }
  return joined;
}

Option *Section::find(std::string_view option) { return find_by_name(options, option); }

void Section::set(std::string_view option, std::string value) {
  Option *present = find(option);
  if (present == nullptr) present = &options.emplace_back();
  *present = {std::string(option), false, {std::move(value)}};
}

void Section::add(std::string_view option, std::string value) {
  Option *present = find(option);
  if (present == nullptr) {
    present = &options.emplace_back();
    present->name = option;
  }
  present->is_list = true;
  present->values.push_back(std::move(value));
}

Section *Package::find(std::string_view section) { return find_by_name(sections_, section); }

Section *Package::find(std::string_view type, int index) {
  std::vector<Section *> candidates;
  for (Section &section : sections_) {
    if (type.empty() || section.type == type) candidates.push_back(&section);
  }
  const auto count = static_cast<int>(candidates.size());
  if (index < 0) index += count;
  return index >= 0 && index < count ? candidates[static_cast<size_t>(index)] : nullptr;
}

std::string Package::reference(const Section &section) const {
  if (!section.anonymous) return section.name;
  int index = 0;
  for (const Section &other : sections_) {
    if (&other == &section) break;
    if (other.type == section.type) ++index;
  }
  return "@" + section.type + "[" + std::to_string(index) + "]";
}

Section &Package::add_named(std::string_view type, std::string_view section) {
  ++counter_;
  return sections_.emplace_back(Section{std::string(type), std::string(section), false, {}});
}

Section &Package::add_anonymous(std::string_view type, std::string_view section) {
  ++counter_;
  if (!section.empty()) return sections_.emplace_back(Section{std::string(type), std::string(section), true, {}});
  char made_up[24];
  snprintf(made_up, sizeof made_up, "cfg%02x%04x", ++counter_, hash_of_type(type) % 0x10000);
  return sections_.emplace_back(Section{std::string(type), made_up, true, {}});
}

bool valid_name(std::string_view text) {
  return all_of(text, [](int c) { return isalnum(c) != 0 || c == '_'; });
}

bool valid_package(std::string_view text) {
  return all_of(text, [](int c) { return isalnum(c) != 0 || c == '_' || c == '-'; });
}

bool valid_type(std::string_view text) {
  return all_of(text, [](int c) { return c > ' ' && c < 127; });
}

}  // namespace uci
