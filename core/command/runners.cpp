#include "core/command/runners.hpp"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "core/command/deadline.hpp"
#include "core/command/kept.hpp"
#include "core/command/process.hpp"
#include "core/command/request.hpp"
#include "core/log.hpp"
#include "core/switches.hpp"

namespace {

using namespace zol;

constexpr size_t command_size = 256;
/// For the runners, and what such a text can hold.
constexpr size_t usual_words = 32;
constexpr size_t most_words = command_size / 2;

constexpr int64_t patience_ms = 20'000;

/// The words of a command, as the exec step takes them.
struct Words {
  std::array<char, command_size> text{};
  std::array<char *, most_words + 1> argument{};
  size_t count = 0;
};

bool is_blank(char character) { return character != '\0' && strchr(blanks, character) != nullptr; }

/// Brings back the white space that belongs to a word.
void show_blanks(char *text) {
  for (; *text != '\0'; ++text) {
    if (const char *hidden = strchr(hidden_blanks, *text)) *text = blanks[hidden - hidden_blanks];
  }
}

/// Splits `words.text` at white space, in place. False when it has more than `most` words.
bool split(Words &words, size_t most = usual_words) {
  bool in_word = false;
  for (char *character = words.text.data(); *character != '\0'; ++character) {
    if (is_blank(*character)) {
      *character = '\0';
      in_word = false;
    } else if (!in_word) {
      if (words.count == most) {
        log_line("a command of more than %zu words was not run: %s ...", most, words.argument[0]);
        return false;
      }
      words.argument[words.count++] = character;
      in_word = true;
    }
  }
  for (size_t i = 0; guard_is_on() && i < words.count; ++i) show_blanks(words.argument[i]);
  return true;
}

/// Whether a runner's command fits.
bool fits(const CommandText &command) {
  if (!command.complete()) return false;
  if (command.length() < command_size) return true;
  log_line("a command of %zu characters is too long and was not run: %.60s...", command.length(), command.text());
  return false;
}

/// Takes the words of a runner's command. False when it does not fit.
bool take(Words &words, const CommandText &command) {
  if (!fits(command)) return false;
  memcpy(words.text.data(), command.text(), command.length() + 1);
  return split(words);
}

// Waiting. A command that changes something is never ended half-way: who is late is left to finish.

constinit std::atomic<pid_t> unfinished = 0;

/// Names the object that a message is about.
void log_for_object(const char *what, const char *text) {
  const Request *request = Request::current();
  log_line("%s: %s: %.200s", request != nullptr ? request->object() : "a command", what, text);
}

void wait_for_the_unfinished() {
  const pid_t pid = unfinished;
  if (pid == 0) return;
  Deadline deadline(patience_ms);
  int status = 0;
  process::wait(pid, deadline, &status);
  // Whoever does not end now is not waited for again.
  unfinished = 0;
}

/// Waits for a command that has begun, `most_ms` at most (0: for ever). @return its exit status, or -1
int wait_for(const process::Child &child, const char *text, int64_t most_ms) {
  Deadline deadline(most_ms);
  int status = 0;
  if (process::wait(child.pid, deadline, &status)) return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  unfinished = child.pid;
  process::leave(child.pid);
  log_for_object("is not waited for any longer", text);
  return -1;
}

void run_text(const char *text, process::Through through, int64_t most_ms) {
  wait_for_the_unfinished();
  kept::forget();
  const process::Child child = process::start(text, through);
  // The outcome of a command is never told to the manager; only one that could not be started is worth a line.
  if (child.pid == -1) {
    log_for_object(strerror(errno), text);
    return;
  }
  if (wait_for(child, text, most_ms) == process::not_there) process::tell_missing(text);
  kept::forget();
}

/// Runs words and waits. @param shown the command line to be written to standard error, or null
int run(const Words &words, const char *shown) {
  if (words.count == 0) return 0;
  wait_for_the_unfinished();
  kept::forget();
  const process::Child child = process::start_words(words.argument.data(), shown);
  if (child.pid == -1) return -1;
  wait_for(child, words.argument[0], patience_ms);
  kept::forget();
  return 0;
}

/// Puts a command together and runs it.
[[gnu::format(printf, 1, 0)]] void run_formatted(const char *format, va_list arguments, int64_t most_ms) {
  CommandText command;
  command.append(format, arguments);
  if (command.complete()) run_text(command.text(), process::Through::what_it_needs, most_ms);
}

/// Makes a command ready to be started in the background. @return 1, 0 for one without words, -1 for one that does not
/// fit
[[gnu::format(printf, 2, 0)]] int prepare(Words &words, const char *format, va_list arguments) {
  CommandText command(CommandText::For::words);
  command.append(format, arguments);
  if (!take(words, command)) return -1;
  if (words.count == 0) return 0;
  kept::forget();
  return 1;
}

}  // namespace

pid_t zol_unfinished_command(void) { return unfinished; }

int run_script(const char *format, ...) {
  CommandText command(CommandText::For::words);
  va_list arguments;
  va_start(arguments, format);
  command.append(format, arguments);
  va_end(arguments);
  Words words;
  if (!take(words, command)) return -1;
  std::array<char, command_size + 1> shown{};
  snprintf(shown.data(), shown.size(), "%s\n", command.text());
  if (guard_is_on()) show_blanks(shown.data());
  return run(words, shown.data());
}

int run_system(const char *format, ...) {
  CommandText command;
  va_list arguments;
  va_start(arguments, format);
  command.append(format, arguments);
  va_end(arguments);
  if (fits(command)) run_text(command.text(), process::Through::shell, patience_ms);
  return 0;
}

int run_script_background(const char *format, ...) {
  Words words;
  va_list arguments;
  va_start(arguments, format);
  const int ready = prepare(words, format, arguments);
  va_end(arguments);
  if (ready != 1) return ready;
  return process::start_detached(words.argument.data(), -1) ? 0 : -1;
}

int run_script_background_return_pid(const char *format, ...) {
  static int32_t slot;
  slot = 0;
  Words words;
  va_list arguments;
  va_start(arguments, format);
  const int ready = prepare(words, format, arguments);
  va_end(arguments);
  if (ready != 1) return ready;
  int ends[2] = {-1, -1};
  if (pipe2(ends, O_CLOEXEC) == -1) printf("pipe error\n");
  const bool started = process::start_detached(words.argument.data(), ends[1]);
  close(ends[1]);
  // Without a pipe nothing is read and the zeroed slot is the answer.
  if (!started) {
    slot = -1;
  } else if (read(ends[0], &slot, sizeof slot) != sizeof slot) {
    slot = 0;
  }
  close(ends[0]);
  return slot;
}

namespace zol {

void shell(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  run_formatted(format, arguments, patience_ms);
  va_end(arguments);
}

void shell_patiently(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  run_formatted(format, arguments, 0);
  va_end(arguments);
}

int run_words(const char *command) {
  Words words;
  // A longer command is cut at the buffer's end here, unlike the runners', which refuse it.
  strncpy(words.text.data(), command, words.text.size() - 1);
  return split(words, most_words) ? run(words, nullptr) : -1;
}

void CommandLine::append(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  text_.append(format, arguments);
  va_end(arguments);
}

void CommandLine::run() const {
  if (text_.complete()) run_text(text_.text(), process::Through::what_it_needs, patience_ms);
}

}  // namespace zol
