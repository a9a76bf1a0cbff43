#include "core/command.hpp"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/net_snmp.hpp"

namespace {

constexpr size_t command_size = 256;
/// For the runners, and what such a text can hold.
constexpr size_t usual_words = 32;
constexpr size_t most_words = command_size / 2;

/// The words of a command, as the exec step takes them.
struct Words {
  std::array<char, command_size> text{};
  std::array<char *, most_words + 1> argument{};
  size_t count = 0;
};

bool is_blank(char character) { return strchr(" \t\n\v\f\r", character) != nullptr && character != '\0'; }

[[gnu::format(printf, 2, 0)]] bool format_command(std::array<char, command_size> &text, const char *format,
                                                  va_list arguments) {
  const int length = vsnprintf(text.data(), text.size(), format, arguments);
  if (length >= 0 && static_cast<size_t>(length) < text.size()) return true;
  zol::log_line("a command of %d characters is too long and was not run: %.60s...", length, text.data());
  return false;
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
        zol::log_line("a command of more than %zu words was not run: %s ...", most, words.argument[0]);
        return false;
      }
      words.argument[words.count++] = character;
      in_word = true;
    }
  }
  return true;
}

/// Formats and splits; false when the command does not fit.
[[gnu::format(printf, 2, 0)]] bool prepare(Words &words, const char *format, va_list arguments) {
  return format_command(words.text, format, arguments) && split(words);
}

/// The exec step: does not return. A program that cannot be executed ends silently with status 0.
[[noreturn]] void execute(const Words &words) {
  execvp(words.argument[0], words.argument.data());
  _exit(0);
}

/// Keeps the agent's own descriptors out of what is started next. A service that a command leaves running would
/// otherwise hold the agent's socket, and the agent could not listen on its port after a restart. The agent does not
/// mark its descriptors itself and opens new ones at any time, so it is done before every start; it costs far less than
/// the start.
void keep_descriptors() {
  constexpr int most = 128;
  for (int descriptor = STDERR_FILENO + 1; descriptor < most; ++descriptor) {
    const int flags = fcntl(descriptor, F_GETFD);
    if (flags != -1 && (flags & FD_CLOEXEC) == 0) fcntl(descriptor, F_SETFD, flags | FD_CLOEXEC);
  }
}

void wait_for(pid_t child) {
  while (waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
  }
}

/// A heap text from a format, or null when memory does not suffice.
struct FreeText {
  void operator()(char *text) const { free(text); }
};
using HeapText = std::unique_ptr<char, FreeText>;

[[gnu::format(printf, 1, 0)]] HeapText format_text(const char *format, va_list arguments) {
  char *text = nullptr;
  if (vasprintf(&text, format, arguments) == -1) {
    zol::log_line("out of memory: a command was not run");
    return nullptr;
  }
  return HeapText(text);
}

}  // namespace

int run_script(const char *format, ...) {
  Words words;
  va_list arguments;
  va_start(arguments, format);
  std::array<char, command_size> shown{};
  const bool fits = format_command(shown, format, arguments);
  va_end(arguments);
  if (!fits) return -1;
  words.text = shown;
  if (!split(words)) return -1;
  if (words.count == 0) return 0;
  keep_descriptors();
  const pid_t child = fork();
  if (child == -1) return -1;
  if (child == 0) {
    dprintf(STDERR_FILENO, "%s\n", shown.data());
    execute(words);
  }
  wait_for(child);
  return 0;
}

int run_system(const char *format, ...) {
  std::array<char, command_size> text{};
  va_list arguments;
  va_start(arguments, format);
  const bool fits = format_command(text, format, arguments);
  va_end(arguments);
  if (fits) zol::shell("%s", text.data());
  return 0;
}

// The sanitizers' own vfork keeps one return address for both children below and would send the agent the wrong way.
#ifdef ZOL_SANITIZED
#define ZOL_SECOND_VFORK fork
#else
#define ZOL_SECOND_VFORK vfork
#endif

// A detached start takes two children: the first ends at once and is waited for, so that the second, which becomes the
// command, is nobody's child here and leaves no zombie. With vfork they run in the agent's memory until they exec, so
// they store nothing but the second child's pid.

int run_script_background(const char *format, ...) {
  Words words;
  va_list arguments;
  va_start(arguments, format);
  const bool fits = prepare(words, format, arguments);
  va_end(arguments);
  if (!fits) return -1;
  if (words.count == 0) return 0;
  keep_descriptors();
  const pid_t child = vfork();
  if (child == -1) return -1;
  if (child == 0) {
    if (ZOL_SECOND_VFORK() != 0) _exit(0);
    execute(words);
  }
  wait_for(child);
  return 0;
}

int run_script_background_return_pid(const char *format, ...) {
  static int32_t slot;
  slot = 0;
  Words words;
  va_list arguments;
  va_start(arguments, format);
  const bool fits = prepare(words, format, arguments);
  va_end(arguments);
  if (!fits) return -1;
  if (words.count == 0) return 0;
  int ends[2] = {-1, -1};
  if (pipe(ends) == -1) printf("pipe error\n");
  keep_descriptors();
  const pid_t child = vfork();
  if (child == -1) {
    close(ends[0]);
    close(ends[1]);
    return -1;
  }
  if (child == 0) {
    const int32_t pid = ZOL_SECOND_VFORK();
    if (pid != 0) {
      close(ends[0]);
      if (write(ends[1], &pid, sizeof pid) != sizeof pid) _exit(1);
      _exit(0);
    }
    execute(words);
  }
  wait_for(child);
  close(ends[1]);
  // Without a pipe nothing is read and the zeroed slot is the answer.
  if (read(ends[0], &slot, sizeof slot) != sizeof slot) slot = 0;
  close(ends[0]);
  return slot;
}

namespace zol {

void shell(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const HeapText text = format_text(format, arguments);
  va_end(arguments);
  if (text == nullptr) return;
  keep_descriptors();
  // The outcome of a command is never told to the manager; only a shell that could not be started is worth a line.
  if (system(text.get()) == -1) log_line("cannot start a shell: %s", strerror(errno));
}

int run_words(const char *command) {
  Words words;
  // A longer command is cut at the buffer's end here, unlike the runners', which refuse it.
  strncpy(words.text.data(), command, words.text.size() - 1);
  if (!split(words, most_words)) return -1;
  if (words.count == 0) return 0;
  keep_descriptors();
  const pid_t child = vfork();
  if (child == -1) return -1;
  if (child == 0) execute(words);
  wait_for(child);
  return 0;
}

CommandLine::~CommandLine() { free(text_); }

void CommandLine::append(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const HeapText piece = format_text(format, arguments);
  va_end(arguments);
  if (piece == nullptr) {
    complete_ = false;
    return;
  }
  const size_t piece_length = strlen(piece.get());
  if (length_ + piece_length >= capacity_) {
    const size_t capacity = 2 * (length_ + piece_length) + 1;
    auto *larger = static_cast<char *>(realloc(text_, capacity));
    if (larger == nullptr) {
      log_line("out of memory: a command was not run");
      complete_ = false;
      return;
    }
    text_ = larger;
    capacity_ = capacity;
  }
  memcpy(text_ + length_, piece.get(), piece_length + 1);
  length_ += piece_length;
}

void CommandLine::run() const {
  if (complete_) shell("%s", text());
}

void LineReader::start(const char *format, va_list arguments) {
  line_[0] = '\0';
  const HeapText command = format_text(format, arguments);
  if (command == nullptr) return;
  keep_descriptors();
  stream_ = popen(command.get(), "r");
  // A device short of memory fails every command of a walk.
  static constinit Complaint failing;
  if (stream_ == nullptr) {
    failing.raise("cannot start a command: %s", strerror(errno));
    return;
  }
  failing.over();
  // Another thread's command must not inherit this end of the pipe.
  fcntl(fileno(stream_), F_SETFD, FD_CLOEXEC);
}

void LineReader::close() {
  if (stream_ != nullptr) pclose(stream_);
}

bool LineReader::read() {
  // The stream is not locked: nobody else uses it, and a sampling thread whose command hangs must not hold a lock that
  // the C library asks for when the agent ends.
  if (stream_ == nullptr || fgets_unlocked(line_, static_cast<int>(size_), stream_) == nullptr) {
    line_[0] = '\0';
    length_as_read_ = 0;
    return false;
  }
  length_as_read_ = strlen(line_);
  return true;
}

bool LineReader::next() {
  if (!read()) return false;
  if (length_as_read_ > 0) line_[length_as_read_ - 1] = '\0';
  return true;
}

bool LineReader::next_without_newline() {
  if (!read()) return false;
  line_[strcspn(line_, "\n")] = '\0';
  return true;
}

bool LineReader::next_of_at_least(size_t shortest) { return next() && length_as_read_ >= shortest; }

const char *LineReader::find(const char *marker) {
  while (next()) {
    if (const char *found = strstr(line_, marker)) return found;
  }
  return nullptr;
}

}  // namespace zol
