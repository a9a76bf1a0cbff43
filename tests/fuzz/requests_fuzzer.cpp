// A manager's requests: GETs and the phases of SETs, of any object, type, length and value, in any order, on a device
// whose programs print what they like. The first byte is a mask of switches, the rest records of a request each.

#include <cstdlib>
#include <cstring>

#include "core/switches.hpp"
#include "tests/fuzz/printed.hpp"
#include "tests/unit/objects.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

/// What is left of the input.
class Input {
 public:
  Input(const uint8_t *data, size_t size) : data_(data), left_(size) {}
  [[nodiscard]] bool empty() const { return left_ == 0; }
  uint8_t byte() {
    if (empty()) return 0;
    --left_;
    return *data_++;
  }
  std::string bytes(size_t count) {
    std::string taken;
    for (; count > 0 && !empty(); --count) taken += static_cast<char>(byte());
    return taken;
  }

 private:
  const uint8_t *data_;
  size_t left_;
};

bool guarded = false;

/// What a shell would make of a command: with the guard nothing of a text that was set is syntax.
void look_at(const char *command) {
  if (!guarded) return;
  std::string text(command);
  constexpr std::string_view own = "`pidof wdog`";
  if (const size_t at = text.find(own); at != std::string::npos) text.erase(at, own.size());
  char quote = '\0';
  for (size_t i = 0; i < text.size(); ++i) {
    const char character = text[i];
    require(static_cast<unsigned char>(character) >= 0x20 || character == '\n', "no control characters");
    if (quote == '\'') {
      if (character == '\'') quote = '\0';
    } else if (character == '\\') {
      ++i;
    } else if (quote == '"') {
      require(character != '$' && character != '`', "nothing is expanded");
      if (character == '"') quote = '\0';
    } else if (character == '\'' || character == '"') {
      quote = character;
    } else {
      require(strchr("$`()<*?~{}!\n", character) == nullptr, "nothing is syntax");
    }
  }
  require(quote == '\0', "quotes are closed");
}

void request(Input &input) {
  const auto rows = registered_rows();
  const RegisteredRow &row = rows[(input.byte() * size_t{256} + input.byte()) % rows.size()];
  const uint8_t action = input.byte();
  Oid name = row.full;
  if ((action & 0x40U) == 0) name.push_back(0);
  const auto found = ask(row, name, (action & 0x80U) == 0);
  constexpr uint8_t phases = 6;
  if (!found || found->write == nullptr || action % (phases + 1) == phases) return;
  constexpr uint8_t types[] = {ASN_INTEGER, ASN_OCTET_STR, ASN_IPADDRESS, ASN_COUNTER, ASN_NULL};
  const uint8_t chosen = input.byte();
  const uint8_t type = chosen < 128 ? row.object->type : types[chosen % std::size(types)];
  const std::string bytes = input.bytes(input.byte());
  // As the agent does: ACTION only of what RESERVE1 has let through.
  const auto phase = [&](int which) {
    std::string copy = bytes;
    return found->write(which, reinterpret_cast<unsigned char *>(copy.data()), type, copy.size(), nullptr, nullptr, 0);
  };
  const int refusal = phase(MODE_SET_RESERVE1);
  require(refusal == SNMP_ERR_NOERROR || refusal == SNMP_ERR_WRONGTYPE || refusal == SNMP_ERR_WRONGLENGTH ||
              refusal == SNMP_ERR_WRONGVALUE,
          "a documented error");
  if (refusal == SNMP_ERR_NOERROR) phase(MODE_SET_ACTION);
  if (action % 2 == 1) phase(MODE_SET_UNDO);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  printed.clear();
  registered_rows();
  watch_commands(look_at);
  Input input(data, size);
  guarded = (input.byte() & 1U) != 0;
  for (const zol::Switch &which : zol::switches()) {
    if (strcmp(which.name, "zolarcGuard") == 0) *which.value = guarded ? 1 : 0;
  }
  printed = input.bytes(input.byte());
  while (!input.empty()) request(input);
  return 0;
}
