#include "core/label.hpp"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "core/conf_file.hpp"
#include "core/lock.hpp"
#include "core/text.hpp"

namespace {

struct Label {
  std::string_view key;
  const char *text;
};

constexpr bool is_before(const Label &one, const Label &other) { return one.key < other.key; }

/// What the program wdog shows, in the order of the keys.
constexpr Label english[] = {
    {"wdog.0", "configuration"},
    {"wdog.1", "task monitor"},
    {"wdog.1.1", "kind (time, hours)"},
    {"wdog.1.2", "time of the reboot"},
    {"wdog.1.3", "hours between reboots"},
    {"wdog.1.4", "next reboot"},
    {"wdog.1.5", "last reboot"},
    {"wdog.1.6", "switch (y, n)"},
    {"wdog.2", "ping watchdog"},
    {"wdog.2.1", "failures"},
    {"wdog.2.2", "targets"},
    {"wdog.2.3", "interval"},
    {"wdog.2.4", "timeout"},
    {"wdog.2.5", "grace"},
    {"wdog.2.6", "action"},
    {"wdog.2.7", "script"},
    {"wdog.2.8", "limit"},
    {"wdog.3", "names and addresses"},
    {"wdog.3.1", "host name"},
    {"wdog.3.2", "LAN address"},
    {"wdog.3.3", "netmask"},
    {"wdog.3.4", "gateway"},
    {"wdog.4", "radios"},
    {"wdog.5", "SNMP service"},
    {"wdog.5.1", "switch (y, n)"},
    {"wdog.5.2", "read community"},
    {"wdog.5.3", "write community"},
    {"wdog.5.4", "traps (y, n)"},
    {"wdog.5.5", "trap receiver"},
    {"wdog.5.6", "trap port"},
    {"wdog.6", "state"},
    {"wdog.6.1", "wdog runs as process"},
    {"wdog.6.2", "uptime"},
    {"wdog.6.3", "schedule"},
    {"wdog.6.4", "ping watchdog"},
    {"wdog.6.5", "reboots that count for its limit"},
    {"wdog.bad.action", "reboot, network or script is expected"},
    {"wdog.bad.address", "an address such as 192.168.1.1 is expected"},
    {"wdog.bad.channel", "auto or a channel from 1 to 255 is expected"},
    {"wdog.bad.community", "1 to 64 bytes of text are expected"},
    {"wdog.bad.failures", "0 to 100 failures are expected, 0 for off"},
    {"wdog.bad.grace", "0 to 3600 seconds are expected"},
    {"wdog.bad.hours", "1 to 23 hours are expected"},
    {"wdog.bad.interval", "1 to 3600 seconds are expected"},
    {"wdog.bad.key", "a number, ~, s, e or ? is expected"},
    {"wdog.bad.kind", "time or hours is expected"},
    {"wdog.bad.limit", "0 to 100 reboots are expected"},
    {"wdog.bad.memory", "there is no memory"},
    {"wdog.bad.name", "1 to 32 bytes of text are expected"},
    {"wdog.bad.netmask", "a netmask such as 255.255.255.0 is expected"},
    {"wdog.bad.number", "there is no such number here"},
    {"wdog.bad.port", "a port from 0 to 65535 is expected"},
    {"wdog.bad.save", "not saved"},
    {"wdog.bad.schedule", "not saved: the kind of schedule needs its time or its hours first"},
    {"wdog.bad.script", "an absolute path is expected"},
    {"wdog.bad.switch", "y or n is expected"},
    {"wdog.bad.targets", "up to four names or addresses with a blank between are expected"},
    {"wdog.bad.time", "a time from 00:00 to 23:59 is expected"},
    {"wdog.bad.timeout", "1 to 60 seconds are expected"},
    {"wdog.bad.told", "this is only shown"},
    {"wdog.help", "number: enter a menu, choose an item; n:value: set item n; ~: top; s: save; e: end; ?: help"},
    {"wdog.no_daemon", "saved; no wdog runs: it starts with the device, or by wdog --daemon"},
    {"wdog.saved", "saved"},
    {"wdog.unsaved", "ended; what was not saved is lost"},
};
static_assert(std::is_sorted(std::begin(english), std::end(english), is_before));

using Text = std::array<char, 1024>;
using Path = std::array<char, 128>;
using Language = std::array<char, 3>;

const char *language_file = nullptr;

const char *path_or(const char *alias, const char *otherwise) {
  const char *path = zol::path_of_alias(alias);
  return path == nullptr ? otherwise : path;
}

bool read_key(const char *path, const char *key, std::span<char> text) {
  ConfFile *file = cfopen(path);
  const bool found = file != nullptr && cfread(file, key, text.data(), text.size()) == 0;
  cfclose(file);
  return found;
}

/// The first two letters of "ja" or "ja_JP.UTF-8"; empty for what is no language.
Language language_of(const char *name) {
  const auto is_letter = [](char character) { return isalpha(static_cast<unsigned char>(character)) != 0; };
  if (!is_letter(name[0]) || !is_letter(name[1]) || is_letter(name[2])) return {};
  const auto lower = [](char letter) { return static_cast<char>(tolower(static_cast<unsigned char>(letter))); };
  return {lower(name[0]), lower(name[1]), '\0'};
}

Language language() {
  const char *file = language_file == nullptr ? path_or("sys", "/etc/sys.conf") : language_file;
  Text name;
  ConfFile *settings = cfopen(file);
  const auto is_named_by = [&](const char *key) { return cfread(settings, key, name.data(), name.size()) == 0; };
  const bool is_named = settings != nullptr && (is_named_by("LANGUAGE") || is_named_by("LANG"));
  cfclose(settings);
  if (is_named) return language_of(name.data());
  const char *environment = getenv("LANG");
  return language_of(environment == nullptr ? "" : environment);
}

Path file_of(const Language &language) {
  Path path{};
  const auto is = [&](const char *name) { return strcmp(language.data(), name) == 0; };
  if (is("en")) {
    zol::copy_text(path, path_or("language", "/home/web/en/english.msg"));
  } else if (is("ja") || is("jp")) {
    zol::copy_text(path, path_or("label", "/home/web/jp/label.conf"));
  } else {
    snprintf(path.data(), path.size(), "/home/web/%s/label.conf", language.data());
  }
  return path;
}

/// How many bytes the character that `text` begins with has; 0 when it is none in UTF-8, or a control character.
size_t character_length(const unsigned char *text) {
  const unsigned char first = text[0];
  if (first < 0x80) return first >= 0x20 && first != 0x7f ? 1 : 0;
  const size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc2 || first > 0xf4) return 0;
  uint32_t code = first & (0x7fU >> length);
  for (size_t i = 1; i < length; ++i) {
    if ((text[i] & 0xc0U) != 0x80) return 0;
    code = code << 6U | (text[i] & 0x3fU);
  }
  constexpr uint32_t smallest[] = {0, 0, 0xa0, 0x800, 0x10000};
  const bool is_surrogate = code >= 0xd800 && code < 0xe000;
  return code < smallest[length] || code > 0x10ffff || is_surrogate ? 0 : length;
}

bool is_text(const char *text) {
  const auto *at = reinterpret_cast<const unsigned char *>(text);
  while (*at != '\0') {
    const size_t length = character_length(at);
    if (length == 0) return false;
    at += length;
  }
  return at != reinterpret_cast<const unsigned char *>(text);
}

/// The text lies behind it.
struct Kept {
  Kept *next;
  char *text() { return reinterpret_cast<char *>(this + 1); }
};

pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
Kept *kept_texts = nullptr;

/// Every text is kept once, so that what was handed out stays valid though the language changes.
const char *keep(const char *text) {
  const zol::Lock lock(guard);
  for (Kept *kept = kept_texts; kept != nullptr; kept = kept->next) {
    if (strcmp(kept->text(), text) == 0) return kept->text();
  }
  const size_t size = strlen(text) + 1;
  auto *kept = static_cast<Kept *>(malloc(sizeof(Kept) + size));
  if (kept == nullptr) return nullptr;
  kept->next = kept_texts;
  memcpy(kept->text(), text, size);
  kept_texts = kept;
  return kept->text();
}

const char *translation_of(const char *key) {
  const Language chosen = language();
  Text text;
  if (chosen[0] == '\0' || !read_key(file_of(chosen).data(), key, text) || !is_text(text.data())) return nullptr;
  return keep(text.data());
}

const char *english_of(const char *key) {
  const Label *found = std::lower_bound(std::begin(english), std::end(english), Label{key, nullptr}, is_before);
  return found != std::end(english) && found->key == key ? found->text : nullptr;
}

}  // namespace

namespace zol {

void name_language_in(const char *path) { language_file = path; }

const char *find_label(const char *key) {
  const char *text = translation_of(key);
  return text == nullptr ? english_of(key) : text;
}

}  // namespace zol

const char *zol_label(const char *key) {
  const char *text = zol::find_label(key);
  return text == nullptr ? key : text;
}
