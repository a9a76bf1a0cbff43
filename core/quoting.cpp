#include "core/quoting.hpp"

#include <cctype>
#include <cstring>

namespace {

bool is_plain_character(unsigned char character, zol::Quotes quotes) {
  constexpr unsigned char first_beyond_ascii = 0x80;
  switch (quotes) {
    case zol::Quotes::single:
      return character != '\'';
    case zol::Quotes::doubled:
      return strchr("\"$`\\", character) == nullptr;
    default:
      return character >= first_beyond_ascii || isalnum(character) != 0 || strchr("_./:@=,+%-", character) != nullptr;
  }
}

}  // namespace

namespace zol {

bool is_plain(const char *text, Quotes quotes) {
  for (; *text != '\0'; ++text) {
    if (!is_plain_character(static_cast<unsigned char>(*text), quotes)) return false;
  }
  return true;
}

}  // namespace zol
