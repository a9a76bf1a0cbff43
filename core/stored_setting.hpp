#pragma once

// Settings on the agent library's ready-made handlers: a value that lives in the agent only. No command is run for
// them, and there is no get_X, set_X, var_X or write_X.

#include <span>

#include "core/module.hpp"

namespace zol {

/// An INTEGER on the agent's integer handler, registered as "<name> int".
class StoredInteger {
 public:
  constexpr StoredInteger(const ObjectInfo &info, const char *registration, int32_t *value)
      : info_(info), registration_(registration), value_(value) {}

  void init();
  void deinit();

 private:
  const ObjectInfo &info_;
  const char *registration_;
  int32_t *value_;
  bool registered_ = false;
  int32_t enterprise_ = 0;
};

/// An OCTET STRING on the agent's handler for watched values, registered as "my <name> string".
class StoredText {
 public:
  /// @param value one byte larger than the longest text: the agent's handler writes a terminator behind that
  constexpr StoredText(const ObjectInfo &info, const char *registration, std::span<char> value, const char *initial)
      : info_(info), registration_(registration), value_(value), initial_(initial) {}

  void init();
  void deinit();

 private:
  const ObjectInfo &info_;
  const char *registration_;
  std::span<char> value_;
  const char *initial_;
  /// Null while the object is not registered.
  netsnmp_watcher_info *watcher_ = nullptr;
  int32_t enterprise_ = 0;
};

}  // namespace zol

/// A stored INTEGER that starts as `INITIAL`; the arguments behind it are its arcs.
#define ZOL_STORED_INTEGER(NAME, INITIAL, ...)                                                                       \
  extern "C" {                                                                                                       \
  ZOL_EXPORT extern int32_t NAME;                                                                                    \
  ZOL_EXPORT void init_##NAME(void);                                                                                 \
  ZOL_EXPORT void deinit_##NAME(void);                                                                               \
  }                                                                                                                  \
  int32_t NAME = INITIAL;                                                                                            \
  namespace {                                                                                                        \
  constexpr zol::ObjectInfo NAME##_info{                                                                             \
      #NAME, {__VA_ARGS__}, ASN_INTEGER, zol::read_write, zol::Tree::products, 0, zol::range(INT32_MIN, INT32_MAX)}; \
  constinit zol::StoredInteger NAME##_setting(NAME##_info, #NAME " int", &NAME);                                     \
  }                                                                                                                  \
  void init_##NAME(void) { NAME##_setting.init(); }                                                                  \
  void deinit_##NAME(void) { NAME##_setting.deinit(); }                                                              \
  ZOL_REGISTER(NAME, #NAME, init_##NAME, deinit_##NAME, &NAME##_info, 1)

/// A stored OCTET STRING of at most `LONGEST` octets that starts as `INITIAL`; the arguments behind it are its arcs.
#define ZOL_STORED_TEXT(NAME, LONGEST, INITIAL, ...)                                                         \
  extern "C" {                                                                                               \
  ZOL_EXPORT extern char NAME[(LONGEST) + 1];                                                                \
  ZOL_EXPORT void init_##NAME##_string(void);                                                                \
  ZOL_EXPORT void init_##NAME(void);                                                                         \
  ZOL_EXPORT void deinit_##NAME(void);                                                                       \
  }                                                                                                          \
  char NAME[(LONGEST) + 1];                                                                                  \
  namespace {                                                                                                \
  constexpr zol::ObjectInfo NAME##_info{                                                                     \
      #NAME, {__VA_ARGS__}, ASN_OCTET_STR, zol::read_write, zol::Tree::products, 0, zol::range(0, LONGEST)}; \
  constinit zol::StoredText NAME##_setting(NAME##_info, "my " #NAME " string", NAME, INITIAL);               \
  }                                                                                                          \
  void init_##NAME##_string(void) { NAME##_setting.init(); }                                                 \
  void init_##NAME(void) { NAME##_setting.init(); }                                                          \
  void deinit_##NAME(void) { NAME##_setting.deinit(); }                                                      \
  ZOL_REGISTER(NAME, #NAME, init_##NAME, deinit_##NAME, &NAME##_info, 1)
