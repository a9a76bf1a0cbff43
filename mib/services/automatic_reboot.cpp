// The automatic reboot: the watchdog program `wdog` reboots the device at a time of day or every so many hours.

#include <algorithm>
#include <array>
#include <cstring>

#include "core/command.hpp"
#include "core/scalar.hpp"
#include "core/value_store.hpp"
#include "mib/services/options.hpp"

using namespace zol;
using namespace zol::services;

namespace {

constexpr const char *enable_key = "0.3.19";
constexpr const char *schedule_key = "0.3.20";
constexpr size_t schedule_size = 65;

/// A schedule such as "--by-time=03:30" in its two parts.
class Schedule {
 public:
  explicit Schedule(const char *text) {
    copy_field(form_, text, 0, '=');
    copy_field(when_, text, 1, '=');
  }
  [[nodiscard]] bool is_by_time() const { return strstr(form_.data(), "--by-time") != nullptr; }
  [[nodiscard]] bool is_by_hour() const { return strstr(form_.data(), "--by-hour") != nullptr; }
  /// The time of day "HH:MM", or the number of hours.
  [[nodiscard]] const char *when() const { return when_.data(); }

 private:
  std::array<char, schedule_size> form_{};
  std::array<char, schedule_size> when_{};
};

/// Two characters, a colon, two characters. That they are digits is not checked; it is meant so.
bool is_time(const char *text) {
  std::array<char, schedule_size> part{};
  const auto has_two = [&](unsigned field) { return copy_field(part, text, field, ':') && strlen(part.data()) == 2; };
  return strlen(text) == strlen("HH:MM") && strchr(text, ':') != nullptr && has_two(0) && has_two(1);
}

/// At most two characters that make a number below 24. What is no number counts as 0; it is meant so.
bool is_hour(const char *text) { return *text != '\0' && strlen(text) < 3 && to_int32(text) < 24; }

int check_schedule(const unsigned char *bytes, size_t length) {
  constexpr size_t by_time = sizeof "--by-time=HH:MM" - 1;
  constexpr size_t by_hour = sizeof "--by-hour=HH" - 1;
  if (length != by_time && length != by_hour && length != by_hour - 1) return SNMP_ERR_WRONGLENGTH;
  std::array<char, by_time + 1> text{};
  memcpy(text.data(), bytes, length);
  const Schedule schedule(text.data());
  const bool is_valid =
      schedule.is_by_time() ? is_time(schedule.when()) : schedule.is_by_hour() && is_hour(schedule.when());
  return is_valid ? SNMP_ERR_NOERROR : SNMP_ERR_WRONGLENGTH;
}

/// Two digits below `end`.
bool is_number_below(const char *text, int end) {
  return strspn(text, "0123456789") >= 2 && (text[0] - '0') * 10 + text[1] - '0' < end;
}

/// What is a schedule to the letter: a time of day, or hours from 0 to 23.
bool is_schedule(const char *text, size_t length) {
  constexpr size_t form = sizeof "--by-time=" - 1;
  std::array<char, 8> when{};
  if (length < form || length - form >= when.size()) return false;
  std::copy(text + form, text + length, when.begin());
  if (strncmp(text, "--by-time=", form) == 0) {
    return strlen(when.data()) == 5 && is_number_below(when.data(), 24) && when[2] == ':' &&
           is_number_below(when.data() + 3, 60);
  }
  return strncmp(text, "--by-hour=", form) == 0 && when[0] != '\0' &&
         strspn(when.data(), "0123456789") == strlen(when.data());
}

}  // namespace

/// @syntax ZolarcText (SIZE (0 | 11..15))
/// When to reboot: '--by-time=03:30' daily at that time, or '--by-hour=12' every so many hours, 0 to 23. A SET restarts
/// the watchdog program if autorebEnable is enabled. Another text of the right length is refused with wrongLength.
ZOL_TEXT(autoreb_param, schedule_size, .oid = {18, 2}, .accepts = range(11, 15),
         .prepare = read_first<get_autoreb_param, autoreb_param>, .check = check_schedule, .guard = is_schedule);

/// @syntax INTEGER { unset(0), enabled(1), disabled(2) }
/// Whether the device reboots by the schedule of autorebParam. A SET starts or stops the watchdog program at once.
/// unset(0) until it was set for the first time.
ZOL_INTEGER(autoreb_enable, .oid = {18, 1}, .accepts = range(on, off));

int get_autoreb_enable(int32_t *state) {
  std::array<char, 16> text{};
  read_value(enable_key, text);
  *state = to_int32(text.data());
  return 0;
}

int set_autoreb_enable(int32_t state) {
  if (state == off) {
    snmp_write2file(enable_key, "2");
    shell("wdog --test=1 \"~;1;6:n;~;2;1:0;s;e\" path=/etc");
    shell("kill `pidof wdog`");
  } else if (state == on) {
    snmp_write2file(enable_key, "1");
    const Schedule schedule(autoreb_param);
    if (*schedule.when() == '\0') return 0;
    if (schedule.is_by_time()) {
      shell("kill `pidof wdog`;/etc/autoreboot_by_time %s", schedule.when());
    } else if (schedule.is_by_hour()) {
      shell("kill `pidof wdog`;/etc/autoreboot_by_hour %s", schedule.when());
    }
  }
  return 0;
}

int get_autoreb_param(char *schedule) {
  read_value(schedule_key, {schedule, schedule_size});
  return 0;
}

int set_autoreb_param(const char *schedule) {
  snmp_write2file(schedule_key, schedule);
  int32_t state = off;
  get_autoreb_enable(&state);
  // Restarts the watchdog with the new schedule.
  if (state == on) set_autoreb_enable(on);
  return 0;
}
