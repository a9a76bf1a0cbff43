#include "uci/reference.hpp"

#include <charconv>

namespace uci {

namespace {

struct Position {
  std::string_view type;
  int index;
};

/// Takes `@type[n]` apart.
std::optional<Position> parse_position(std::string_view text) {
  if (!text.starts_with('@') || !text.ends_with(']')) return std::nullopt;
  const size_t bracket = text.find('[');
  if (bracket == std::string_view::npos) return std::nullopt;
  const std::string_view digits = text.substr(bracket + 1, text.size() - bracket - 2);
  Position position{text.substr(1, bracket - 1), 0};
  const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), position.index);
  if (failure != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return position;
}

}  // namespace

Reference Reference::parse(std::string_view text) {
  Reference result;
  const size_t equals = text.find('=');
  if (equals != std::string_view::npos) {
    result.value = text.substr(equals + 1);
    text = text.substr(0, equals);
  }
  const auto take = [&]() {
    const size_t dot = text.find('.');
    const std::string_view part = text.substr(0, dot);
    text = dot == std::string_view::npos ? std::string_view{} : text.substr(dot + 1);
    return std::string(part);
  };
  const bool dangling = text.ends_with('.');
  result.package = take();
  result.section = take();
  result.option = take();
  const bool section_ok =
      result.section.empty() || valid_name(result.section) || parse_position(result.section).has_value();
  const bool option_ok = result.option.empty() || (valid_name(result.option) && !result.section.empty());
  if (dangling || !text.empty() || !valid_package(result.package) || !section_ok || !option_ok) {
    throw invalid_argument();
  }
  return result;
}

Section *Reference::find_section(Package &in) const {
  if (const auto position = parse_position(section)) return in.find(position->type, position->index);
  return in.find(section);
}

}  // namespace uci
