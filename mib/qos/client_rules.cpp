#include "mib/qos/client_rules.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "core/command.hpp"
#include "core/text.hpp"
#include "mib/stations/stations.hpp"

using namespace zol;
using qos::Client;
using qos::Direction;
using qos::Rule;

namespace {

constexpr std::array<const char *, qos::most_packages> targets = {"Priority", "Express", "Normal", "Bulk"};

const char *target_of(int32_t package) { return targets[static_cast<size_t>(package - 1)]; }

/// 0 for a target that is none of the four.
int32_t package_of(const char *target) {
  for (size_t i = 0; i < targets.size(); ++i) {
    if (strcmp(target, targets[i]) == 0) return static_cast<int32_t>(i + 1);
  }
  return 0;
}

const char *host_option(Direction direction) { return direction == Direction::upload ? "srchost" : "dsthost"; }

MacText mark_of(const Mac &mac) { return MacText(mac, MacText::lower_case); }

/// Takes the quotes away that later releases of uci put around a value.
void unquote(char *value) {
  const size_t length = strlen(value);
  if (length < 2 || value[0] != '\'' || value[length - 1] != '\'') return;
  memmove(value, value + 1, length - 2);
  value[length - 2] = '\0';
}

/// A classify section while its options are read.
class Section {
 public:
  Section(int32_t number, bool anonymous) : rule_{number, Direction::download, 0, 0, {}}, foreign_(!anonymous) {}

  /// Whatever says more than a rule does makes the section an administrator's.
  void add_option(std::string_view name, const char *value) {
    if (name == "target") {
      rule_.package = package_of(value);
    } else if (name == host_option(Direction::download)) {
      take_host(Direction::download, value);
    } else if (name == host_option(Direction::upload)) {
      take_host(Direction::upload, value);
    } else if (name == "client") {
      rule_.client = parse_mac(value, ':');
      foreign_ |= !rule_.client.has_value();
    } else {
      foreign_ = true;
    }
  }
  void add_something() { foreign_ = true; }

  [[nodiscard]] std::optional<Rule> rule() const {
    if (foreign_ || rule_.package == 0 || rule_.address == 0) return std::nullopt;
    return rule_;
  }

 private:
  void take_host(Direction direction, const char *value) {
    foreign_ |= rule_.address != 0;
    rule_.direction = direction;
    rule_.address = strict_ipv4(value);
    foreign_ |= rule_.address == 0;
  }

  Rule rule_;
  bool foreign_;
};

/// Puts sections together from the lines of "uci show qos".
class SectionReader {
 public:
  /// The rule that the line has brought to its end.
  std::optional<Rule> add(char *line) {
    constexpr std::string_view package = "qos.";
    if (strncmp(line, package.data(), package.size()) != 0) return std::nullopt;
    char *equals = strchr(line, '=');
    if (equals == nullptr) return std::nullopt;
    char *name = line + package.size();
    const std::string_view key(name, static_cast<size_t>(equals - name));
    const size_t dot = key.find('.');
    unquote(equals + 1);
    if (dot != std::string_view::npos) {
      if (current_) current_->add_option({name + dot + 1, key.size() - dot - 1}, equals + 1);
      return std::nullopt;
    }
    const std::optional<Rule> complete = end();
    if (strcmp(equals + 1, "classify") == 0) current_.emplace(sections_++, *name == '@');
    return complete;
  }
  /// A line that was too long to be read whole.
  void add_part() {
    if (current_) current_->add_something();
  }
  std::optional<Rule> end() {
    const std::optional<Rule> rule = current_ ? current_->rule() : std::nullopt;
    current_.reset();
    return rule;
  }

 private:
  std::optional<Section> current_;
  int32_t sections_ = 0;
};

/// A change of several sections, with one commit.
class Change {
 public:
  ~Change() {
    if (line_.empty()) return;
    line_.append(";uci commit qos");
    line_.run();
  }

  void set_target(int32_t section, int32_t package) {
    line_.append("%-suci set qos.@classify[%d].target=%-s", separator(), section, target_of(package));
  }
  void set_address(int32_t section, Direction direction, Ipv4 address) {
    line_.append("%-suci set qos.@classify[%d].%-s=%-s", separator(), section, host_option(direction),
                 DottedQuad(address).text());
  }
  void set_mark(int32_t section, const Mac &mac) {
    line_.append("%-suci set qos.@classify[%d].client=%-s", separator(), section, mark_of(mac).text());
  }
  void remove(int32_t section) {
    // Each deletion moves the sections behind it up by one.
    line_.append("%-suci delete qos.@classify[%d]", separator(), section - removed_);
    ++removed_;
  }
  /// The new section is moved before all others: for the shaper the first match counts.
  void add(Direction direction, const Client &client, int32_t package) {
    constexpr int32_t last = -1;
    line_.append("%-suci add qos classify", separator());
    set_target(last, package);
    set_address(last, direction, client.address);
    set_mark(last, client.mac);
    line_.append(";uci reorder qos.@classify[-1]=0");
  }

 private:
  [[nodiscard]] const char *separator() const { return line_.empty() ? "" : ";"; }

  CommandLine line_;
  int32_t removed_ = 0;
};

/// Has every rule of the client carry its mark and its present address.
void claim(Change &change, const Rule &rule, const Client &client) {
  if (!rule.client) change.set_mark(rule.section, client.mac);
  if (client.address != 0 && rule.address != client.address) {
    change.set_address(rule.section, rule.direction, client.address);
  }
}

/// Where the present stations are: another number when one of them has another address.
uint32_t fingerprint() {
  uint32_t hash = 5381;
  const auto add = [&hash](uint32_t byte) { hash = hash * 33 + byte; };
  for (const StationRecord &station : present_stations().stations()) {
    if (!station.knows(Figure::address)) continue;
    for (const uint8_t octet : station.mac) add(octet);
    for (unsigned shift = 0; shift < 32; shift += 8) add(station.address >> shift & 0xFFU);
  }
  return hash;
}

}  // namespace

bool qos::Rules::load() {
  count_ = 0;
  CommandOutput<256> output("uci show qos");
  if (!output) return false;
  SectionReader reader;
  bool whole = true;
  while (output.next()) {
    const bool continues = !whole;
    whole = output.is_whole();
    if (continues || !whole) {
      reader.add_part();
      continue;
    }
    std::array<char, 256> line;
    copy_text(line, output.line());
    if (const std::optional<Rule> rule = reader.add(line.data())) add(*rule);
  }
  if (const std::optional<Rule> rule = reader.end()) add(*rule);
  // Of a list that was not read to its end nothing can be said.
  if (output.finish() == -1) count_ = 0;
  return output.finish() != -1;
}

const Rule *qos::Rules::find(const Client &client) const {
  const auto rules = all();
  const auto found = std::ranges::find_if(rules, [&](const Rule &rule) { return rule.is_of(client); });
  return found == rules.end() ? nullptr : &*found;
}

const Rule *qos::Rules::find(const Client &client, Direction direction) const {
  const auto rules = all();
  const auto found =
      std::ranges::find_if(rules, [&](const Rule &rule) { return rule.direction == direction && rule.is_of(client); });
  return found == rules.end() ? nullptr : &*found;
}

void qos::set_client_package(Direction direction, const Client &client, int32_t package) {
  Rules rules;
  if (!rules.load()) return;
  const Rule *first = rules.find(client, direction);
  if (first == nullptr && package == 0) return;
  Change change;
  for (const Rule &rule : rules.all()) {
    const bool deleted = package == 0 && rule.direction == direction;
    if (rule.is_of(client) && !deleted) claim(change, rule, client);
  }
  if (first == nullptr) {
    // One that is not there now gets the rule for the address that it had.
    const Rule *other = rules.find(client);
    const Client known{client.mac, client.address != 0 || other == nullptr ? client.address : other->address};
    if (known.address != 0) change.add(direction, known, package);
  } else if (package != 0) {
    change.set_target(first->section, package);
  } else {
    for (const Rule &rule : rules.all()) {
      if (rule.direction == direction && rule.is_of(client)) change.remove(rule.section);
    }
  }
}

void qos::follow_clients() {
  static std::optional<uint32_t> followed;
  const uint32_t present = fingerprint();
  if (followed == present) return;
  Rules rules;
  if (!rules.load()) return;
  followed = present;
  Change change;
  for (const Rule &rule : rules.all()) {
    const StationRecord *station = rule.client ? present_stations().find(*rule.client) : nullptr;
    if (station == nullptr || !station->knows(Figure::address)) continue;
    claim(change, rule, {station->mac, station->address});
  }
}
