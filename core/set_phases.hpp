#pragma once

// A SET in its phases, once for each type: RESERVE1 checks, ACTION keeps the value and applies it, UNDO brings the
// value before it back. Nothing happens in the others. Messages name the object.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "core/address.hpp"
#include "core/guard.hpp"
#include "core/module.hpp"

namespace zol {

/// INTEGER: a 32-bit number.
class IntegerSetter {
 public:
  /// @param settable whether there is something that a SET could act on; without it RESERVE1 answers wrongValue
  constexpr IntegerSetter(const char *object, const Accepts &accepts, int32_t *value, int (*set)(int32_t),
                          bool (*settable)() = nullptr)
      : object_(object), accepts_(accepts), value_(value), set_(set), settable_(settable) {}

  int write(int phase, const unsigned char *bytes, unsigned char type, size_t length);

  /// What the request that is being served would set, from its check to its action.
  [[nodiscard]] std::optional<int32_t> pending() const { return is_pending_ ? std::optional(pending_) : std::nullopt; }

 protected:
  [[nodiscard]] int32_t *value() const { return value_; }

 private:
  int reserve(const unsigned char *bytes, unsigned char type, size_t length);

  const char *object_;
  const Accepts &accepts_;
  int32_t *value_;
  int (*set_)(int32_t);
  bool (*settable_)();
  int32_t pending_ = 0;
  int32_t before_ = 0;
  bool is_pending_ = false;
};

/// IpAddress: four octets in network byte order, kept with the first one in the top byte.
class AddressSetter {
 public:
  /// @param checks_length whether RESERVE1 looks at it; the agent itself drops a request in which it is not four
  constexpr AddressSetter(const char *object, Ipv4 *value, int (*set)(Ipv4), bool checks_length = true)
      : object_(object), value_(value), set_(set), checks_length_(checks_length) {}

  int write(int phase, const unsigned char *bytes, unsigned char type, size_t length);

 protected:
  [[nodiscard]] Ipv4 *value() const { return value_; }

 private:
  const char *object_;
  Ipv4 *value_;
  int (*set_)(Ipv4);
  bool checks_length_;
  Ipv4 before_ = 0;
};

/// OCTET STRING: a text that is cut to the buffer it is kept in.
class TextSetter {
 public:
  /// @param accepts the lengths that RESERVE1 lets through
  /// @param before where the text before is kept, as large as `value`; empty where UNDO leaves the new text
  /// @param check checks the bytes in place of the length test and answers an SNMP error status
  /// @param guard what the guard asks of the text, beside that it holds no control characters
  constexpr TextSetter(const char *object, const Accepts &accepts, std::span<char> value, std::span<char> before,
                       int (*set)(const char *), int (*check)(const unsigned char *, size_t) = nullptr,
                       GuardCheck *guard = nullptr)
      : object_(object), accepts_(accepts), value_(value), before_(before), set_(set), check_(check), guard_(guard) {}

  int write(int phase, const unsigned char *bytes, unsigned char type, size_t length);

 protected:
  [[nodiscard]] std::span<char> value() const { return value_; }

 private:
  [[nodiscard]] int reserve(const unsigned char *bytes, unsigned char type, size_t length) const;
  [[nodiscard]] int check_length(const unsigned char *bytes, size_t length) const;
  void keep(const unsigned char *bytes, size_t length);

  const char *object_;
  const Accepts &accepts_;
  std::span<char> value_;
  std::span<char> before_;
  int (*set_)(const char *);
  int (*check_)(const unsigned char *, size_t);
  GuardCheck *guard_;
};

}  // namespace zol
