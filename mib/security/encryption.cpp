// Which network the security objects mean, and how it is encrypted: authentication type and cipher, which share one
// option.

#include <cstring>
#include <iterator>

#include "core/option.hpp"
#include "core/scalar.hpp"
#include "mib/security/security.hpp"

using namespace zol;

namespace {

/// An authentication type as the option writes it; its number is its place. A type without a cipher is written and
/// recognised as it stands; another is recognised alone or with "+" and a cipher behind it.
struct Authentication {
  const char *name;
  const char *with_cipher;
};

constexpr Authentication authentications[] = {
    /* 0 open                */ {"none", nullptr},
    /* 1 WEP, open system    */ {"wep-open", nullptr},
    /* 2 WEP, shared key     */ {"wep-shared", nullptr},
    /* 3 WPA personal        */ {"psk", "psk+"},
    /* 4 WPA2 personal       */ {"psk2", "psk2+"},
    /* 5 WPA/WPA2 personal   */ {"psk-mixed", "psk-mixed+"},
    /* 6 WPA enterprise      */ {"wpa", "wpa+"},
    /* 7 WPA2 enterprise     */ {"wpa2", "wpa2+"},
};

/// What a cipher puts behind the authentication type; its number is its place.
constexpr const char *ciphers[] = {"", "+ccmp", "+tkip+ccmp"};

/// Reads the option's value; empty without one. @return what get_X returns
int read_encryption(std::span<char> value) {
  value[0] = '\0';
  const auto take = [value](const Value &encryption) {
    if (encryption.in_line_with(".encryption")) copy_text(value, encryption.text());
  };
  return take_first(CommandOutput("uci show wireless.@wifi-iface[%d].encryption", security_index), take, shortest_line);
}

int store_encryption(const Authentication &authentication, int32_t cipher) {
  shell("uci set wireless.@wifi-iface[%d].encryption=%-s%-s;uci commit wireless", security_index, authentication.name,
        authentication.with_cipher != nullptr ? ciphers[cipher] : "");
  return 0;
}

bool is(const Authentication &authentication, const char *value) {
  return strcmp(value, authentication.name) == 0 ||
         (authentication.with_cipher != nullptr && strstr(value, authentication.with_cipher) != nullptr);
}

}  // namespace

// A new index counts from the next GET or SET of any other security object on.
/// Selects the section wireless.@wifi-iface[N] that the other objects here read and write. Only stored.
ZOL_INTEGER(security_index, .oid = {6, 1}, .accepts = range(0, 15));
ZOL_STORED(security_index)

/// @syntax INTEGER { none(0), wepOpen(1), wepShared(2), psk(3), psk2(4), pskMixed(5), wpa(6), wpa2(7) }
/// The authentication (option encryption): none, WEP with open or shared key, a pre-shared key of WPA, WPA2 or both, or
/// RADIUS with WPA or WPA2. A SET keeps the cipher.
ZOL_INTEGER(security_authtype, .oid = {6, 2}, .accepts = range(0, 7));

/// @syntax INTEGER { automatic(0), ccmp(1), tkipAndCcmp(2) }
/// The cipher of the types with WPA or WPA2. With no encryption and with WEP a SET is accepted and changes nothing.
ZOL_INTEGER(security_cipher, .oid = {6, 8}, .accepts = range(0, 2));

int get_security_authtype(int32_t *type) {
  *type = 0;
  char value[128];
  const int result = read_encryption(value);
  for (const Authentication &authentication : authentications) {
    if (!is(authentication, value)) continue;
    *type = static_cast<int32_t>(&authentication - authentications);
    break;
  }
  return result;
}

int set_security_authtype(int32_t type) {
  // The cipher that is in force stays. It is asked for even where the new type has none; it is meant so.
  int32_t cipher = 0;
  get_security_cipher(&cipher);
  if (type < 0 || static_cast<size_t>(type) >= std::size(authentications)) return 0;
  return store_encryption(authentications[type], cipher);
}

int get_security_cipher(int32_t *cipher) {
  *cipher = 0;
  char value[128];
  const int result = read_encryption(value);
  // The longer suffix holds the shorter one.
  for (const int32_t suffix : {1, 2}) {
    if (strstr(value, ciphers[suffix]) != nullptr) *cipher = suffix;
  }
  return result;
}

int set_security_cipher(int32_t cipher) {
  int32_t type = 0;
  get_security_authtype(&type);
  // Without encryption and with WEP there is no cipher to write: the SET succeeds and changes nothing.
  if (authentications[type].with_cipher == nullptr) return 0;
  if (cipher < 0 || static_cast<size_t>(cipher) >= std::size(ciphers)) return 0;
  return store_encryption(authentications[type], cipher);
}
