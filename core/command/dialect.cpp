#include "core/command/dialect.hpp"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "core/command/kept.hpp"

namespace zol {

namespace {

constexpr const char *show = "uci show";

std::atomic<UciDialect> found = UciDialect::plain;

bool is_told(const char *dialect) {
  const char *told = getenv("ZOLARC_UCI");
  return told != nullptr && strcmp(told, dialect) == 0;
}

}  // namespace

UciDialect uci_dialect() {
  if (uci_is_told_plain()) return UciDialect::plain;
  return is_told("quoted") ? UciDialect::quoted : found.load();
}

bool uci_is_told_plain() { return is_told("plain"); }

void set_uci_dialect(UciDialect dialect) {
  // What has been kept was read in the other one.
  if (found.exchange(dialect) != dialect) kept::forget();
}

Unquoter::Unquoter(const char *command) {
  if (uci_dialect() == UciDialect::plain || strncmp(command, show, strlen(show)) != 0) return;
  state_ = State::name;
  filtered_ = strchr(command, '|') != nullptr;
}

std::optional<char> Unquoter::step(char byte) {
  if (byte == '\n' && (state_ != State::quoted || filtered_)) {
    state_ = State::name;
    return byte;
  }
  switch (state_) {
    case State::name:
      if (byte == '=') state_ = State::start;
      return byte;
    case State::start:
      state_ = byte == '\'' ? State::quoted : State::other;
      break;
    case State::quoted:
      if (byte == '\'') state_ = State::unquoted;
      if (byte == '\n') byte = ' ';
      break;
    case State::unquoted:
      if (byte == '\'') state_ = State::quoted;
      if (byte == '\\') state_ = State::escaped;
      if (byte == '\\') return std::nullopt;
      break;
    case State::escaped:
      state_ = State::unquoted;
      return byte;
    case State::other:
    case State::idle:
      return byte;
  }
  if (byte == '\'') return std::nullopt;
  return byte;
}

size_t Unquoter::apply(char *bytes, size_t count) {
  if (state_ == State::idle) return count;
  size_t kept = 0;
  for (size_t i = 0; i < count; ++i) {
    if (const auto byte = step(bytes[i])) bytes[kept++] = *byte;
  }
  return kept;
}

}  // namespace zol
