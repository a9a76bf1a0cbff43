#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/export.hpp"
#include "core/net_snmp.hpp"

namespace zol {

/// The arcs of an object below the root 1.3.6.1.4.1.E.8.1.
struct Arcs {
  static constexpr size_t most = 6;

  constexpr Arcs(std::integral auto... arcs)  // NOLINT(google-explicit-constructor): written as {3, 1, 6}
      : count(sizeof...(arcs)), arc{static_cast<uint8_t>(arcs)...} {
    static_assert(sizeof...(arcs) <= most);
  }
  [[nodiscard]] constexpr uint8_t last() const { return arc[count - 1U]; }

  uint8_t count;
  std::array<uint8_t, most> arc;
};

enum class Access : uint8_t { read_only, read_write, not_accessible, accessible_for_notify };
using enum Access;

/// Which tree below 1.3.6.1.4.1.E.8 an object belongs to; the number is the arc.
enum class Tree : uint8_t { products = 1, extensions = 2 };

/// The type of a notification in the registry, which has no ASN.1 type of its own.
constexpr uint8_t notification_type = 0;

/// What a SET accepts: numbers for INTEGER, lengths for OCTET STRING. An object that is never set has no interval.
struct Accepts {
  struct Interval {
    int32_t low = 0;
    int32_t high = -1;
  };
  [[nodiscard]] constexpr bool operator()(int32_t value) const {
    return std::ranges::any_of(interval, [=](const Interval &one) { return one.low <= value && value <= one.high; });
  }
  /// Without those that hold nothing.
  [[nodiscard]] constexpr std::span<const Interval> intervals() const {
    const auto *const end = std::ranges::find_if(interval, [](const Interval &one) { return one.low > one.high; });
    return {interval.data(), static_cast<size_t>(end - interval.begin())};
  }
  std::array<Interval, 2> interval{};
};

/// Every value from `low` to `high`.
constexpr Accepts range(int32_t low, int32_t high) { return {{{{low, high}}}}; }
/// Two values and nothing between them.
constexpr Accepts one_of(int32_t first, int32_t second) { return {{{{first, first}, {second, second}}}}; }

/// What is published about one object (a scalar, or one column of a table): all that a MIB file says of it in figures.
struct ObjectInfo {
  const char *name;
  /// The object's own arcs, without the instance.
  Arcs oid;
  uint8_t type;
  Access access;
  /// What `oid` counts from.
  Tree tree = Tree::products;
  /// How many rows a table's column can have; 0 for a scalar.
  uint16_t rows = 0;
  Accepts accepts = {};
};

/// One module as the registry holds it. The agent starts a module with `dlmod <name> <library>`, which calls `init`.
struct Module {
  const char *name;
  void (*init)();
  void (*deinit)();
  const ObjectInfo *objects;
  size_t object_count;
};

/// Every module of the library. Each enters itself (`ZOL_REGISTER`); the linker collects them, nobody keeps a list.
std::span<const Module> modules();

/// What a module holds of the agent: its rows and its tokens. Taking them back leaves the agent as if the module had
/// never been loaded, so that unloading and the reload on SIGHUP are harmless.
class Registration {
 public:
  /// Registers `count` rows of `row_size` bytes below the root and `prefix`, under the module's name. The enterprise
  /// arc is the one known now. A module that is registered already gives its old rows back first.
  void add_rows(const char *module, variable *rows, size_t row_size, size_t count, const Arcs &prefix = Arcs{},
                Tree tree = Tree::products);
  void remove_rows();

 private:
  void unregister(size_t index) const;

  variable *rows_ = nullptr;
  size_t row_size_ = 0;
  size_t count_ = 0;
  Arcs prefix_{};
  Tree tree_ = Tree::products;
  int32_t enterprise_ = 0;
};

/// An OID with room for every registered row.
struct FullOid {
  std::array<oid, 20> arc{};
  size_t length = 0;
};

/// The root of `tree` with `enterprise` as its seventh arc, followed by `arcs`.
FullOid full_oid(int32_t enterprise, const Arcs &arcs, Tree tree = Tree::products);

/// Registers the snmpd.conf token `token` with the help text "<token> value".
void add_token(const char *token, void (*parse)(const char *, char *), void (*release)());
void remove_token(const char *token);

/// A snmpd.conf token of a table or of another module with several objects, as ZOL_REGISTER_TOKEN enters it.
struct Token {
  const char *module;
  const char *name;
  void (*parse)(const char *, char *);
  void (*release)();
};

/// Every token that was entered so.
std::span<const Token> tokens();

/// The tokens of one module, while the module is started.
class ModuleTokens {
 public:
  constexpr explicit ModuleTokens(const char *module) : module_(module) {}
  void add();
  void remove();

 private:
  const char *module_;
  bool added_ = false;
};

/// Asks the agent whether a request means `row`; on a match the length slot is set for an integer and no write method
/// is handed out yet.
bool matches(variable *row, oid *name, size_t *length, int exact, size_t *value_length, WriteMethod **write_method);

/// On 64-bit machines the agent hands an INTEGER over as an 8-byte long. Narrows such a value to the four bytes that
/// the write methods take; a value that does not fit keeps its length, and is refused for it.
class NarrowedInteger {
 public:
  NarrowedInteger(unsigned char *value, unsigned char type, size_t length);
  [[nodiscard]] unsigned char *value() { return value_; }
  [[nodiscard]] size_t length() const { return length_; }

 private:
  int32_t narrow_ = 0;
  unsigned char *value_;
  size_t length_;
};

template <auto Write>
int write_narrowed(int action, unsigned char *value, unsigned char type, size_t length, unsigned char *stored,
                   oid *name, size_t name_length) {
  NarrowedInteger narrowed(value, type, length);
  return Write(action, narrowed.value(), type, narrowed.length(), stored, name, name_length);
}

/// The write method to hand to the agent for `Write`: itself where a long has four bytes.
template <auto Write>
constexpr WriteMethod *handed_out() {
  if constexpr (sizeof(long) > sizeof(int32_t)) {
    return &write_narrowed<Write>;
  } else {
    return Write;
  }
}

/// The 32-bit integer at `value`, in the machine's byte order. @param length at most 4
int32_t integer_at(const unsigned char *value, size_t length);

/// The address whose four octets stand at `value`, the first one in the top byte.
uint32_t address_at(const unsigned char *octets);

/// RESERVE1 of an integer: 7 for a wrong type, 8 for a length of 5 or more, 0 otherwise.
int check_integer(unsigned char type, size_t length);

}  // namespace zol

// The entries of the registry lie side by side: without an alignment of their own the compiler may leave gaps.
#define ZOL_ENTRY_(SECTION, TYPE) [[gnu::used, gnu::section(SECTION)]] alignas(TYPE) constinit const TYPE

/// Enters a module into the registry. `NAME` is only a part of the entry's own name.
#define ZOL_REGISTER(NAME, ...)                                      \
  namespace {                                                        \
  ZOL_ENTRY_("zol_modules", zol::Module) NAME##_module{__VA_ARGS__}; \
  }

/// Enters the token NAME of MODULE, with its handlers. It is known to the agent while the module is started.
#define ZOL_REGISTER_TOKEN(MODULE, NAME, PARSE, RELEASE)                             \
  namespace {                                                                        \
  ZOL_ENTRY_("zol_tokens", zol::Token) NAME##_token{#MODULE, #NAME, PARSE, RELEASE}; \
  }
