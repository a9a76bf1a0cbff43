// The administrator's account.

#include <array>
#include <cstring>

#include "core/command.hpp"
#include "core/guard.hpp"
#include "core/scalar.hpp"
#include "core/value_store.hpp"

using namespace zol;

namespace {

constexpr size_t name_size = 33;
constexpr const char *name_key = "0.3.2";
constexpr const char *password_key = "0.3.3";
constexpr const char *only_name = "admin";

}  // namespace

// The device has one administrator, whose name is fixed. The write operation only changes the cached text, and since
// the object is read-only the agent never calls it.
/// @syntax ZolarcText (SIZE (1..32))
/// The name of the device's one administrator, which is fixed.
ZOL_TEXT(admin_name, name_size, .oid = {2, 6}, .accepts = range(1, 32), .access = read_only);

int get_admin_name(char *name) {
  const std::span<char> value(name, name_size);
  read_value(name_key, value);
  if (strcmp(name, only_name) != 0) snmp_write2file(name_key, only_name);
  copy_text(value, only_name);
  return 0;
}

int set_admin_name(const char *) { return 0; }

/// @syntax ZolarcText (SIZE (0..32))
/// The administrator's password. A SET changes it at once (passwd). A GET answers the text that was set last over SNMP
/// in clear, or an empty one: restrict this object by a view.
ZOL_TEXT(admin_pwd, name_size, .oid = {2, 7}, .accepts = range(1, 32));

int get_admin_pwd(char *password) {
  read_value(password_key, {password, name_size});
  return 0;
}

int set_admin_pwd(const char *password) {
  // passwd asks for the password twice.
  std::array<char, 2 * name_size> echoed;
  escape_for_echo(echoed, password);
  shell("echo -e '%s\n%s' | passwd admin", echoed.data(), echoed.data());
  snmp_write2file(password_key, password);
  return 0;
}
