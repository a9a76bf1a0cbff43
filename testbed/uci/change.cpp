#include "uci/change.hpp"

#include <algorithm>
#include <array>
#include <charconv>

#include "uci/syntax.hpp"

namespace uci {

namespace {

struct Notation {
  Change::Kind kind;
  const char *word;       // in a file of changes
  const char *prefix;     // in the list of changes
  const char *separator;  // between name and value there
};

constexpr std::array notations{
    Notation{Change::Kind::set, "set", "", "="},
    Notation{Change::Kind::add_section, "add", "", "="},
    Notation{Change::Kind::remove, "delete", "-", ""},
    Notation{Change::Kind::add_list, "add_list", "", "+="},
    Notation{Change::Kind::remove_list, "del_list", "", "-="},
    Notation{Change::Kind::rename, "rename", "@", "="},
    Notation{Change::Kind::reorder, "reorder", "^", "="},
};

const Notation &notation_of(Change::Kind kind) {
  return *std::find_if(notations.begin(), notations.end(), [&](const auto &entry) { return entry.kind == kind; });
}

void apply_to_section(const Change &change, Package &package, Section &section) {
  auto &sections = package.sections();
  const auto position = sections.begin() + (&section - sections.data());
  switch (change.kind) {
    case Change::Kind::set:
      section.type = change.value;
      break;
    case Change::Kind::remove:
      sections.erase(position);
      break;
    case Change::Kind::rename:
      section.name = change.value;
      section.anonymous = false;
      break;
    case Change::Kind::reorder: {
      size_t target = 0;
      std::from_chars(change.value.data(), change.value.data() + change.value.size(), target);
      Section moved = std::move(section);
      sections.erase(position);
      sections.insert(sections.begin() + static_cast<ptrdiff_t>(std::min(target, sections.size())), std::move(moved));
      break;
    }
    default:
      break;
  }
}

void apply_to_option(const Change &change, Section &section) {
  Option *option = section.find(change.option);
  switch (change.kind) {
    case Change::Kind::set:
      section.set(change.option, change.value);
      break;
    case Change::Kind::add_list:
      section.add(change.option, change.value);
      break;
    case Change::Kind::remove:
      std::erase_if(section.options, [&](const Option &other) { return other.name == change.option; });
      break;
    case Change::Kind::remove_list:
      if (option != nullptr && option->is_list) {
        std::erase(option->values, change.value);
        if (option->values.empty()) {
          std::erase_if(section.options, [&](const Option &other) { return other.name == change.option; });
        }
      }
      break;
    case Change::Kind::rename:
      if (option != nullptr) option->name = change.value;
      break;
    default:
      break;
  }
}

}  // namespace

void apply(const Change &change, Package &package) {
  Section *section = package.find(change.section);
  if (section == nullptr) {
    if (!change.option.empty()) return;
    if (change.kind == Change::Kind::set) package.add_named(change.value, change.section);
    if (change.kind == Change::Kind::add_section) package.add_anonymous(change.value, change.section);
    return;
  }
  if (change.option.empty()) {
    apply_to_section(change, package, *section);
  } else {
    apply_to_option(change, *section);
  }
}

std::string format(const Change &change) {
  return std::string(notation_of(change.kind).word) + " " + quoted(change.section) + " " + quoted(change.option) + " " +
         quoted(change.value) + "\n";
}

std::vector<Change> parse_changes(std::string_view text) {
  std::vector<Change> changes;
  StatementReader reader(text);
  for (auto words = reader.next(); !words.empty(); words = reader.next()) {
    const auto *notation =
        std::find_if(notations.begin(), notations.end(), [&](const Notation &entry) { return words[0] == entry.word; });
    if (notation == notations.end() || words.size() != 4) throw reader.error("invalid change");
    changes.push_back({notation->kind, words[1], words[2], words[3]});
  }
  return changes;
}

std::string describe(const Change &change, std::string_view package) {
  const Notation &notation = notation_of(change.kind);
  std::string text = notation.prefix;
  text.append(package).append(".").append(change.section);
  if (!change.option.empty()) text.append(".").append(change.option);
  return text.append(notation.separator).append(change.value);
}

}  // namespace uci
