#include "mib/qos/client_rules.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "core/command.hpp"
#include "core/text.hpp"

using namespace zol;
using qos::Direction;

namespace {

constexpr std::array<const char *, qos::most_packages> targets = {"Priority", "Express", "Normal", "Bulk"};

/// 0 for a target that is none of the four.
int32_t package_of(const char *target) {
  for (size_t i = 0; i < targets.size(); ++i) {
    if (strcmp(target, targets[i]) == 0) return static_cast<int32_t>(i + 1);
  }
  return 0;
}

const char *host_option(Direction direction) { return direction == Direction::upload ? "srchost" : "dsthost"; }

/// A classify section.
struct Section {
  int32_t index;
  int32_t package = 0;
  std::array<char, 16> source{};
  std::array<char, 16> destination{};
  bool has_other_options = false;

  void add_option(const char *name, const char *value) {
    if (strcmp(name, "target") == 0) {
      package = package_of(value);
    } else if (strcmp(name, host_option(Direction::upload)) == 0 && strlen(value) < source.size()) {
      copy_text(source, value);
    } else if (strcmp(name, host_option(Direction::download)) == 0 && strlen(value) < destination.size()) {
      copy_text(destination, value);
    } else {
      has_other_options = true;
    }
  }

  [[nodiscard]] bool is_rule_of(Direction direction, const DottedQuad &client) const {
    const auto &host = direction == Direction::upload ? source : destination;
    const auto &other_host = direction == Direction::upload ? destination : source;
    return package != 0 && !has_other_options && other_host[0] == '\0' && strcmp(host.data(), client.text()) == 0;
  }
};

/// The classify sections, one after the other.
class Sections {
 public:
  explicit operator bool() const { return static_cast<bool>(output_); }

  std::optional<Section> next() {
    while (output_.next()) {
      constexpr const char *beginning = "qos.@classify[";
      if (strncmp(output_.line(), beginning, strlen(beginning)) != 0) continue;
      const char *rest = output_.line() + strlen(beginning);
      const std::optional<int32_t> index = scan_int32(rest);
      if (!index || *rest != ']') continue;
      std::optional<Section> complete;
      if (!current_ || current_->index != *index) {
        complete = current_;
        current_ = Section{.index = *index};
      }
      add_option(rest + 1);
      if (complete) return complete;
    }
    std::optional<Section> last = current_;
    current_.reset();
    return last;
  }

 private:
  /// `text` is ".name=value", or "=classify" on a section's first line.
  void add_option(const char *text) {
    if (*text != '.') return;
    const char *equals = strchr(text, '=');
    if (equals == nullptr) return;
    std::array<char, 32> name{};
    copy_text(std::span(name).first(std::min(name.size(), static_cast<size_t>(equals - text))), text + 1);
    current_->add_option(name.data(), equals + 1);
  }

  CommandOutput<256> output_{"uci show qos"};
  std::optional<Section> current_;
};

/// The command line that gives a client the package, without the final commit; empty when nothing is to be changed.
void append_change(CommandLine &line, Direction direction, const DottedQuad &client, int32_t package) {
  Sections sections;
  if (!sections) return;
  int32_t deleted = 0;
  while (const std::optional<Section> section = sections.next()) {
    if (!section->is_rule_of(direction, client)) continue;
    if (package != 0) {
      line.append("uci set qos.@classify[%d].target=%-s", section->index, targets[static_cast<size_t>(package - 1)]);
      return;
    }
    // Each deletion moves the sections behind it up by one.
    line.append("%-suci delete qos.@classify[%d]", deleted == 0 ? "" : ";", section->index - deleted);
    ++deleted;
  }
  if (package == 0) return;
  line.append("uci add qos classify;uci set qos.@classify[-1].target=%-s;uci set qos.@classify[-1].%-s=%s",
              targets[static_cast<size_t>(package - 1)], host_option(direction), client.text());
}

}  // namespace

int qos::get_client_package(Direction direction, Ipv4 client, int32_t *package) {
  const DottedQuad host(client);
  *package = 0;
  Sections sections;
  if (!sections) return -1;
  while (const std::optional<Section> section = sections.next()) {
    if (!section->is_rule_of(direction, host)) continue;
    *package = section->package;
    break;
  }
  return 0;
}

void qos::set_client_package(Direction direction, Ipv4 client, int32_t package) {
  CommandLine line;
  append_change(line, direction, DottedQuad(client), package);
  if (line.empty()) return;
  line.append(";uci commit qos");
  line.run();
}
