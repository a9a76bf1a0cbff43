#pragma once

// The frame of the scalar objects. An object is one declaration, followed by its get_X and set_X:
//
//   ZOL_INTEGER(wlan_countrycode, .oid = {3, 1, 5}, .accepts = range(0, 887));
//
//   int get_wlan_countrycode(int32_t *code) { ... reads the device ...; return 0; }
//   int set_wlan_countrycode(int32_t code) { ... changes the device ...; return 0; }
//
// The declaration mints the C names (the value `X`, init_X, deinit_X, var_X, write_X, X_parse_config, X_free_config,
// X_variables), enters the module into the registry and declares get_X and set_X. What all objects have in common is in
// the classes below, once.

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

#include "core/address.hpp"
#include "core/module.hpp"
#include "core/set_phases.hpp"
#include "core/text.hpp"

namespace zol {

/// What is particular to an INTEGER object.
struct IntegerSpec {
  Arcs oid;
  Accepts accepts = {};
  Access access = Access::read_write;
  /// The value before the first GET.
  int32_t initial = 0;
  /// How many of the arcs stand in the row; the others are the prefix it is registered under.
  uint8_t row_arcs = 1;
  /// Runs before the module registers; when it answers false, the module does not register.
  bool (*prepare)() = nullptr;
  /// Whether what is SET is kept for a later action: a GET then answers what get_X says and leaves the value alone.
  bool staged = false;
  /// Whether there is something that a SET could act on; without it RESERVE1 answers wrongValue.
  bool (*settable)() = nullptr;
};

/// What is particular to an IpAddress object.
struct AddressSpec {
  Arcs oid;
  Accepts accepts = {};
  Access access = Access::read_write;
  uint8_t row_arcs = 1;
  bool (*prepare)() = nullptr;
  /// Whether the token's handler first prints "val=[<text>]" on standard output.
  bool prints_token = false;
};

/// The largest buffer of a text, terminator included.
constexpr size_t most_text_bytes = 4097;

/// What is particular to an OCTET STRING object.
struct TextSpec {
  Arcs oid;
  /// The lengths that a SET accepts.
  Accepts accepts = {};
  Access access = Access::read_write;
  uint8_t row_arcs = 1;
  bool (*prepare)() = nullptr;
  /// The length of every answer; 0 stands for the length of the text.
  size_t fixed_length = 0;
  /// The length of the last answer, for octets that may hold a NUL and are not always there.
  size_t (*measure)() = nullptr;
  /// Checks the bytes of a SET in place of the length test and answers an SNMP error status.
  int (*check)(const unsigned char *bytes, size_t length) = nullptr;
  /// What the guard asks of a text, beside that it holds no control characters.
  GuardCheck *guard = nullptr;
  /// Whether UNDO brings the previous text back.
  bool restores = true;
  /// For a text whose SET is kept for a later action: where get_X puts what a GET answers, as large as the value, which
  /// a GET then leaves alone. Empty for every other text.
  std::span<char> answer = {};
};

/// The C functions of an object, as its declaration mints them.
struct ScalarFunctions {
  /// Null for an object that hands out none.
  WriteMethod *write;
  void (*parse_config)(const char *, char *);
  void (*free_config)();
};

/// Registration and matching, the same for every type.
class Scalar {
 public:
  /// Registers the row and the token. Harmless when they are registered already.
  template <class Row>
  void init(std::span<Row, 1> rows) {
    if (prepare_ != nullptr && !prepare_()) return;
    register_row(reinterpret_cast<variable *>(rows.data()), sizeof(Row));
  }
  void deinit();

 protected:
  constexpr Scalar(const ObjectInfo &info, const ScalarFunctions &functions, uint8_t row_arcs, bool (*prepare)())
      : info_(info), functions_(functions), prepare_(prepare), row_arcs_(row_arcs) {}

  /// Whether the request means this object; hands out the write method.
  bool matched(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
               WriteMethod **write_method) const;

  const ObjectInfo &info_;

 private:
  void register_row(variable *row, size_t size);

  ScalarFunctions functions_;
  bool (*prepare_)();
  Registration registration_{};
  uint8_t row_arcs_;
  bool has_token_ = false;
};

/// INTEGER: a 32-bit number, kept in the object's own global.
class IntegerScalar : public Scalar, public IntegerSetter {
 public:
  constexpr IntegerScalar(const ObjectInfo &info, const IntegerSpec &spec, const ScalarFunctions &functions,
                          int32_t *value, int (*get)(int32_t *), int (*set)(int32_t))
      : Scalar(info, functions, spec.row_arcs, spec.prepare),
        IntegerSetter(info.name, info.accepts, value, set, spec.settable),
        get_(get),
        staged_(spec.staged) {}

  unsigned char *find(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                      WriteMethod **write_method);
  void preset(const char *text) { *value() = to_int32(text); }

 private:
  int (*get_)(int32_t *);
  bool staged_;
  /// What the agent is pointed at, so that it never points into the global.
  int32_t answer_ = 0;
};

/// IpAddress: the global holds the first octet in its top byte, the agent gets network byte order.
class AddressScalar : public Scalar, public AddressSetter {
 public:
  constexpr AddressScalar(const ObjectInfo &info, const AddressSpec &spec, const ScalarFunctions &functions,
                          Ipv4 *value, int (*get)(Ipv4 *), int (*set)(Ipv4))
      : Scalar(info, functions, spec.row_arcs, spec.prepare),
        AddressSetter(info.name, value, set),
        get_(get),
        prints_token_(spec.prints_token) {}

  unsigned char *find(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                      WriteMethod **write_method);
  /// Keeps only the leading number of a dotted address; it is meant so.
  void preset(const char *text);

 private:
  int (*get_)(Ipv4 *);
  bool prints_token_;
  Ipv4 answer_ = 0;
};

/// OCTET STRING: a text in a character array of fixed size, or octets of a fixed length.
class TextScalar : public Scalar, public TextSetter {
 public:
  constexpr TextScalar(const ObjectInfo &info, const TextSpec &spec, const ScalarFunctions &functions,
                       std::span<char> value, std::span<char> before, int (*get)(char *), int (*set)(const char *))
      : Scalar(info, functions, spec.row_arcs, spec.prepare),
        TextSetter(info.name, info.accepts, value, spec.restores ? before : std::span<char>(), set, spec.check,
                   spec.guard),
        answer_(spec.answer.empty() ? value : spec.answer),
        get_(get),
        measure_(spec.measure),
        fixed_length_(spec.fixed_length) {}

  unsigned char *find(variable *row, oid *name, size_t *length, int exact, size_t *value_length,
                      WriteMethod **write_method);
  void preset(const char *text) { preset_text(value().data(), value().size() - 1, text); }

 private:
  /// What the agent is pointed at.
  std::span<char> answer_;
  int (*get_)(char *);
  size_t (*measure_)();
  size_t fixed_length_;
};

// What get_X fills in and set_X takes, by the type of the value X.
template <class Held>
using OutputOf = std::remove_extent_t<Held> *;
template <class Held>
using InputOf = std::conditional_t<std::is_array_v<Held>, const char *, Held>;

template <class Number>
void hand_out(Number held, Number *value) {
  *value = held;
}
template <size_t size>
void hand_out(const char (&held)[size], char *value) {
  copy_text({value, size}, held);
}

/// The agent's row of an object with `arcs` arcs of its own.
template <uint8_t arcs>
using Row = std::conditional_t<arcs == 1, variable2, variable3>;

/// Fills in a row: magic 1, the object's last arcs as its name.
template <uint8_t arcs>
constexpr Row<arcs> make_row(const ObjectInfo &info, FindMethod *find) {
  Row<arcs> row{};
  row.magic = 1;
  row.type = info.type;
  row.acl = info.access == Access::read_write ? RWRITE : RONLY;
  row.findVar = find;
  row.namelen = arcs;
  const size_t first = info.oid.count - size_t{arcs};
  for (size_t i = 0; i < arcs; ++i) row.name[i] = info.oid.arc[first + i];
  return row;
}

}  // namespace zol

/// An INTEGER object; the arguments are the fields of `zol::IntegerSpec`.
#define ZOL_INTEGER(NAME, ...)                                                                                      \
  ZOL_SETTER_(NAME, int32_t)                                                                                        \
  ZOL_GETTER_(NAME, int32_t, int32_t *)                                                                             \
  namespace {                                                                                                       \
  constexpr zol::IntegerSpec NAME##_spec{__VA_ARGS__};                                                              \
  }                                                                                                                 \
  int32_t NAME = NAME##_spec.initial;                                                                               \
  ZOL_FRAME_(NAME, zol::IntegerScalar, ASN_INTEGER, zol::handed_out<write_##NAME>(), &NAME, get_##NAME, set_##NAME) \
  ZOL_WRITE_(NAME)

/// An IpAddress object; the arguments are the fields of `zol::AddressSpec`.
#define ZOL_ADDRESS(NAME, ...)                                                                     \
  ZOL_SETTER_(NAME, zol::Ipv4)                                                                     \
  ZOL_GETTER_(NAME, zol::Ipv4, zol::Ipv4 *)                                                        \
  namespace {                                                                                      \
  constexpr zol::AddressSpec NAME##_spec{__VA_ARGS__};                                             \
  }                                                                                                \
  zol::Ipv4 NAME = 0;                                                                              \
  ZOL_FRAME_(NAME, zol::AddressScalar, ASN_IPADDRESS, write_##NAME, &NAME, get_##NAME, set_##NAME) \
  ZOL_WRITE_(NAME)

/// An IpAddress object that nobody sets: there is no set_X and no write_X.
#define ZOL_ADDRESS_WITHOUT_SET(NAME, ...)             \
  ZOL_GETTER_(NAME, zol::Ipv4, zol::Ipv4 *)            \
  namespace {                                          \
  constexpr zol::AddressSpec NAME##_spec{__VA_ARGS__}; \
  }                                                    \
  zol::Ipv4 NAME = 0;                                  \
  ZOL_FRAME_(NAME, zol::AddressScalar, ASN_IPADDRESS, nullptr, &NAME, get_##NAME, nullptr)

/// An OCTET STRING object in a buffer of `CAPACITY` bytes, terminator included; the further arguments are the fields of
/// `zol::TextSpec`.
#define ZOL_TEXT(NAME, CAPACITY, ...) ZOL_TEXT_STARTING(NAME, CAPACITY, "", __VA_ARGS__)

/// `ZOL_TEXT` with the text `INITIAL` before the first GET.
#define ZOL_TEXT_STARTING(NAME, CAPACITY, INITIAL, ...)                                                       \
  ZOL_SETTER_(NAME, const char *)                                                                             \
  ZOL_TEXT_GETTER_(NAME, CAPACITY, INITIAL, __VA_ARGS__)                                                      \
  namespace {                                                                                                 \
  char NAME##_before[CAPACITY];                                                                               \
  }                                                                                                           \
  ZOL_FRAME_(NAME, zol::TextScalar, ASN_OCTET_STR, write_##NAME, NAME, NAME##_before, get_##NAME, set_##NAME) \
  ZOL_WRITE_(NAME)

/// An OCTET STRING object that nobody sets: there is no set_X and no write_X.
#define ZOL_TEXT_WITHOUT_SET(NAME, CAPACITY, ...)   \
  ZOL_TEXT_GETTER_(NAME, CAPACITY, "", __VA_ARGS__) \
  ZOL_FRAME_(NAME, zol::TextScalar, ASN_OCTET_STR, nullptr, NAME, {}, get_##NAME, nullptr)

/// get_X of an object that hands out what it holds: no command is run.
#define ZOL_HELD(NAME)                                  \
  int get_##NAME(zol::OutputOf<decltype(NAME)> value) { \
    zol::hand_out(NAME, value);                         \
    return 0;                                           \
  }

/// get_X and set_X of an object that is only stored: no command is run in either direction.
#define ZOL_STORED(NAME) \
  ZOL_HELD(NAME)         \
  int set_##NAME(zol::InputOf<decltype(NAME)>) { return 0; }

// The pieces of the above.

#define ZOL_GETTER_(NAME, TYPE, POINTER)    \
  extern "C" {                              \
  ZOL_EXPORT extern TYPE NAME;              \
  ZOL_EXPORT int get_##NAME(POINTER value); \
  }

#define ZOL_TEXT_GETTER_(NAME, CAPACITY, INITIAL, ...) \
  extern "C" {                                         \
  ZOL_EXPORT extern char NAME[CAPACITY];               \
  ZOL_EXPORT int get_##NAME(char *text);               \
  }                                                    \
  namespace {                                          \
  constexpr zol::TextSpec NAME##_spec{__VA_ARGS__};    \
  }                                                    \
  static_assert((CAPACITY) <= zol::most_text_bytes);   \
  char NAME[CAPACITY] = INITIAL;

#define ZOL_SETTER_(NAME, TYPE)                                                                    \
  extern "C" {                                                                                     \
  ZOL_EXPORT int set_##NAME(TYPE value);                                                           \
  ZOL_EXPORT int write_##NAME(int action, unsigned char *value, unsigned char type, size_t length, \
                              unsigned char *stored, oid *name, size_t name_length);               \
  }

#define ZOL_WRITE_(NAME)                                                                                        \
  int write_##NAME(int action, unsigned char *value, unsigned char type, size_t length, unsigned char *, oid *, \
                   size_t) {                                                                                    \
    return NAME##_scalar.write(action, value, type, length);                                                    \
  }

#define ZOL_FRAME_(NAME, SCALAR, TYPE, WRITE, ...)                                                                     \
  extern "C" {                                                                                                         \
  ZOL_EXPORT void init_##NAME(void);                                                                                   \
  ZOL_EXPORT void deinit_##NAME(void);                                                                                 \
  ZOL_EXPORT unsigned char *var_##NAME(variable *row, oid *name, size_t *length, int exact, size_t *value_length,      \
                                       WriteMethod **write_method);                                                    \
  ZOL_EXPORT void NAME##_parse_config(const char *token, char *value);                                                 \
  ZOL_EXPORT void NAME##_free_config(void);                                                                            \
  ZOL_EXPORT extern zol::Row<NAME##_spec.row_arcs> NAME##_variables[1];                                                \
  }                                                                                                                    \
  namespace {                                                                                                          \
  constexpr zol::ObjectInfo NAME##_info{#NAME, NAME##_spec.oid,    TYPE, NAME##_spec.access, zol::Tree::products,      \
                                        0,     NAME##_spec.accepts};                                                   \
  constinit SCALAR NAME##_scalar(NAME##_info, NAME##_spec,                                                             \
                                 zol::ScalarFunctions{WRITE, NAME##_parse_config, NAME##_free_config}, __VA_ARGS__);   \
  }                                                                                                                    \
  zol::Row<NAME##_spec.row_arcs> NAME##_variables[1] = {zol::make_row<NAME##_spec.row_arcs>(NAME##_info, var_##NAME)}; \
  void init_##NAME(void) { NAME##_scalar.init(std::span(NAME##_variables)); }                                          \
  void deinit_##NAME(void) { NAME##_scalar.deinit(); }                                                                 \
  unsigned char *var_##NAME(variable *row, oid *name, size_t *length, int exact, size_t *value_length,                 \
                            WriteMethod **write_method) {                                                              \
    return NAME##_scalar.find(row, name, length, exact, value_length, write_method);                                   \
  }                                                                                                                    \
  void NAME##_parse_config(const char *, char *value) { NAME##_scalar.preset(value); }                                 \
  void NAME##_free_config(void) {}                                                                                     \
  ZOL_REGISTER(NAME, #NAME, init_##NAME, deinit_##NAME, &NAME##_info, 1)
