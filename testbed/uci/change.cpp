#include "uci/change.hpp"

#include <algorithm>
#include <cstdlib>

#include "uci/syntax.hpp"

namespace uci {

namespace {

using Kind = Change::Kind;

struct Prefix {
  Kind kind;
  char character;
};

constexpr Prefix prefixes[] = {{Kind::add_section, '+'}, {Kind::remove, '-'}, {Kind::add_list, '|'},
                               {Kind::remove_list, '~'}, {Kind::rename, '@'}, {Kind::reorder, '^'}};

std::optional<Change> set(Change change, Package &package, Section *section, Option *option) {
  if (!change.value || (section == nullptr && change.option)) throw invalid_argument();
  const std::string &value = *change.value;
  if (value.empty()) {
    // Setting to nothing deletes, and what is not there needs no deleting.
    if (section == nullptr || (change.option && option == nullptr)) return std::nullopt;
    return apply({Kind::remove, change.section, change.option, {}}, package);
  }
  if (!change.option && !valid_type(value)) throw invalid_argument();
  if (change.option) {
    if (!section->set(*change.option, value)) return std::nullopt;
  } else if (section == nullptr) {
    package.add_named(value, change.section);
  } else {
    if (newer && section->type == value) return std::nullopt;
    // The newer command makes the section anew for a type of another length, and then its made-up name is one to be
    // kept.
    if (newer && section->type.size() != value.size()) section->anonymous = false;
    section->type = value;
  }
  return change;
}

std::optional<Change> remove(Change change, Package &package, Section &section, const Option *option) {
  if (option == nullptr) {
    auto &sections = package.sections();
    sections.erase(sections.begin() + (&section - sections.data()));
  } else if (option->is_list && !change.value.value_or("").empty()) {
    auto &items = section.find(option->name)->values;
    const auto item = atoi(change.value->c_str());
    if (item < 0 || item >= static_cast<int>(items.size())) return std::nullopt;
    items.erase(items.begin() + item);
    return change;
  } else {
    section.erase(*option);
  }
  change.value.reset();
  return change;
}

std::optional<Change> reorder(Change change, Package &package, Section &section) {
  auto &sections = package.sections();
  const auto present = &section - sections.data();
  const auto wanted = std::max(0, static_cast<int>(strtoul(change.value->c_str(), nullptr, 10)));
  change.value = std::to_string(static_cast<int>(strtoul(change.value->c_str(), nullptr, 10)));
  Section moved = std::move(section);
  sections.erase(sections.begin() + present);
  const auto target = std::min<ptrdiff_t>(wanted, static_cast<ptrdiff_t>(sections.size()));
  sections.insert(sections.begin() + target, std::move(moved));
  if (newer && target == present) return std::nullopt;
  return change;
}

/// Whether a line of a file of changes can be one.
bool acceptable(Kind kind, const Reference &reference) {
  if (!reference.section || !valid_name(*reference.section)) return false;
  if (newer && kind != Kind::remove && !reference.value) return false;
  switch (kind) {
    case Kind::reorder:
      return reference.value && !reference.option;
    case Kind::rename:
      return reference.value && valid_name(*reference.value);
    case Kind::add_list:
    case Kind::remove_list:
      return reference.option.has_value();
    default:
      return true;
  }
}

}  // namespace

std::optional<Change> apply(const Change &change, Package &package) {
  Section *section = package.find(change.section);
  Option *option = section == nullptr || !change.option ? nullptr : section->find(*change.option);
  const auto require_all = [&] {
    if (section == nullptr || (change.option && option == nullptr)) throw not_found();
  };
  switch (change.kind) {
    case Kind::set:
      return set(change, package, section, option);
    case Kind::add_section: {
      auto added = set(change, package, section, option);
      if (Section *present = package.find(change.section); present != nullptr && !change.option) {
        present->anonymous = true;
      }
      return added;
    }
    case Kind::remove:
      require_all();
      return remove(change, package, *section, option);
    case Kind::add_list:
      if (section == nullptr || !change.value) throw invalid_argument();
      section->add(change.option.value_or(""), *change.value);
      return change;
    case Kind::remove_list:
      if (section == nullptr || !change.value) throw invalid_argument();
      if (option == nullptr || !option->is_list) return std::nullopt;
      std::erase(option->values, *change.value);
      return change;
    case Kind::rename:
      require_all();
      if (!change.value) throw invalid_argument();
      if (!change.option) section->anonymous = false;
      (change.option ? option->name : section->name) = *change.value;
      return change;
    case Kind::reorder:
      if (section == nullptr || !change.value) throw not_found();
      return reorder(change, package, *section);
  }
  throw invalid_argument();
}

std::string format(const Change &change, std::string_view package) {
  const auto *prefix = std::find_if(std::begin(prefixes), std::end(prefixes),
                                    [&](const Prefix &entry) { return entry.kind == change.kind; });
  std::string line;
  if (prefix != std::end(prefixes)) line += prefix->character;
  line.append(package).append(".").append(change.section);
  if (change.option) line.append(".").append(*change.option);
  if (change.value) line.append("=").append(newer ? quoted(*change.value) : *change.value);
  return line += '\n';
}

std::vector<Change> parse_changes(std::string_view text, std::string_view package, Faulty faulty) {
  std::vector<Change> changes;
  for (LineWords lines(text); !lines.at_end();) {
    try {
      std::string line = lines.next_change();
      const auto *prefix = std::find_if(std::begin(prefixes), std::end(prefixes),
                                        [&](const Prefix &entry) { return line.starts_with(entry.character); });
      const bool prefixed = prefix != std::end(prefixes);
      const Kind kind = prefixed ? prefix->kind : Kind::set;
      const Reference reference = Reference::parse(prefixed ? line.substr(1) : line);
      if (reference.package != package || !acceptable(kind, reference)) throw invalid_argument();
      changes.push_back({kind, *reference.section, reference.option, reference.value});
    } catch (const Error &) {
      if (faulty == Faulty::refused) throw;
    }
  }
  return changes;
}

std::string describe(const Change &change, std::string_view package) {
  std::string text = change.kind == Kind::remove ? "-" : "";
  text.append(package).append(".").append(change.section);
  if (change.option) text.append(".").append(*change.option);
  if (change.kind == Kind::remove) return text;
  text += change.kind == Kind::add_list ? "+=" : change.kind == Kind::remove_list ? "-=" : "=";
  return text.append(newer ? quoted(*change.value) : *change.value);
}

}  // namespace uci
