#include "core/guard.hpp"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

#include "core/log.hpp"
#include "core/switches.hpp"
#include "core/text.hpp"

namespace zol {

namespace {

constinit std::atomic<uint32_t> refusals = 0;
constinit std::atomic<RefusalObserver *> refusal_observer = nullptr;

bool is_control(char character) { return static_cast<unsigned char>(character) < 0x20 || character == 0x7f; }

bool is_plain_in_a_url(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') || character == '_' || character == '.' || character == '-';
}

}  // namespace

bool has_no_control_characters(const char *text, size_t length) {
  return std::ranges::none_of(text, text + length, is_control);
}

bool guard_lets_through(const char *object, const unsigned char *bytes, size_t length, GuardCheck *check) {
  if (!guard_is_on()) return true;
  const auto *text = reinterpret_cast<const char *>(bytes);
  if (has_no_control_characters(text, length) && (check == nullptr || check(text, length))) return true;
  ++refusals;
  log_line("%s: the guard has refused a text", object);
  if (RefusalObserver *told = refusal_observer.load()) told(object);
  return false;
}

uint32_t guard_refusals() { return refusals; }

void tell_refusals_to(RefusalObserver *observer) { refusal_observer = observer; }

void escape_for_echo(std::span<char> target, const char *text) {
  if (!guard_is_on()) {
    copy_text(target, text);
    return;
  }
  size_t length = 0;
  for (; *text != '\0' && length + 2 < target.size(); ++text) {
    if (*text == '\\') target[length++] = '\\';
    target[length++] = *text;
  }
  target[length] = '\0';
}

void escape_for_url(std::span<char> target, const char *text, bool path) {
  if (!guard_is_on()) {
    copy_text(target, text);
    return;
  }
  size_t length = 0;
  for (; *text != '\0' && length + 3 < target.size(); ++text) {
    if (is_plain_in_a_url(*text) || (path && *text == '/')) {
      target[length++] = *text;
    } else {
      snprintf(&target[length], 4, "%%%02X", static_cast<unsigned char>(*text));
      length += 3;
    }
  }
  target[length] = '\0';
}

}  // namespace zol
