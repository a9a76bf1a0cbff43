#include "core/command/late.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cinttypes>
#include <cstring>
#include <span>

#include "core/command/counters.hpp"
#include "core/command/deadline.hpp"
#include "core/command/request.hpp"
#include "core/lock.hpp"
#include "core/log.hpp"
#include "core/text.hpp"

namespace zol {

constinit CommandCounters command_counters{};

namespace {

constinit std::atomic<LateObserver *> late_observer = nullptr;

/// A text that was late is answered so without a start for as long.
constexpr int64_t rest_ms = 15'000;
/// In this span of time late commands cost the agent's thread one deadline and little more.
constexpr int64_t window_ms = 10'000;
/// What a command gets, at least, while others are late: plenty on a slow board.
constexpr int64_t short_ms = 500;
/// So many texts of one program in a row, and the program is only tried now and then.
constexpr uint32_t most_in_a_row = 2;
/// A try takes at most one part in so many of the time.
constexpr uint32_t try_share = 10;

pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;

uint64_t hash(const char *text, size_t length) {
  uint64_t value = 14695981039346656037U;
  for (size_t i = 0; i < length; ++i) value = (value ^ static_cast<unsigned char>(text[i])) * 1099511628211U;
  return value;
}
uint64_t hash_of_text(const char *text) { return hash(text, strlen(text)); }
uint64_t hash_of_program(const char *text) { return hash(text, strcspn(text, " \t")); }

struct Text {
  uint64_t hash;
  int64_t until;
};
std::array<Text, 128> texts;
size_t next_text = 0;

struct Program {
  uint64_t hash;
  /// How many of its texts were late since the last one that was not.
  uint32_t in_a_row;
  int64_t try_at;
};
std::array<Program, 16> programs;
size_t next_program = 0;
/// So that nothing is searched on a device where nothing hangs.
bool any_late = false;

struct Loss {
  int64_t at;
  int64_t ms;
};
std::array<Loss, 32> losses;
size_t next_loss = 0;

Program *find_program(uint64_t hash) {
  auto *found = std::ranges::find(programs, hash, &Program::hash);
  return found == programs.end() ? nullptr : found;
}

bool rests(uint64_t hash, int64_t now) {
  return std::ranges::any_of(texts, [=](const Text &text) { return text.hash == hash && text.until > now; });
}

/// What late commands have cost the agent's thread lately.
int64_t lost_lately(int64_t now) {
  int64_t sum = 0;
  for (const Loss &loss : losses) {
    if (loss.at > now - window_ms) sum += loss.ms;
  }
  return sum;
}

/// Divides without a sign, as ticks_since() does: 32-bit machines need code for that anyhow, and none for the other.
int64_t shortest_try(int64_t deadline_ms) {
  return std::max(short_ms, static_cast<int64_t>(static_cast<uint64_t>(deadline_ms) / try_share));
}

/// A try takes longer from time to time: the program may answer, but slowly.
int64_t try_ms(const Program &program, int64_t shortest) {
  return shortest << std::min<uint32_t>((program.in_a_row - 1) / most_in_a_row, 2);
}

std::optional<int64_t> decide(const char *text, int64_t deadline_ms) {
  const int64_t now = monotonic_ms();
  if (rests(hash_of_text(text), now)) return std::nullopt;
  const int64_t shortest = shortest_try(deadline_ms);
  Program *program = find_program(hash_of_program(text));
  if (program == nullptr || program->in_a_row == 0) {
    const int64_t lost = Request::current() != nullptr ? lost_lately(now) : 0;
    return std::max(deadline_ms - lost, std::min(shortest, deadline_ms));
  }
  const int64_t time = std::min(try_ms(*program, shortest), deadline_ms);
  if (program->in_a_row >= most_in_a_row) {
    if (now < program->try_at) return std::nullopt;
    program->try_at = now + try_share * time;
  }
  return time;
}

void became_late() {
  ++command_counters.late;
  if (Request *request = Request::current()) request->became_late();
}

}  // namespace

void tell_late_commands_to(LateObserver *observer) { late_observer = observer; }

namespace late {

std::optional<int64_t> time_for(const char *text, int64_t deadline_ms) {
  if (deadline_ms == 0) return 0;
  std::optional<int64_t> time = deadline_ms;
  {
    const Lock lock(guard);
    if (any_late) time = decide(text, deadline_ms);
  }
  if (!time) became_late();
  return time;
}

void remember(const char *text, int64_t waited_ms, int64_t deadline_ms) {
  const auto tenths = static_cast<uint32_t>(waited_ms) / 100;
  log_line("not ready after %" PRIu32 ".%" PRIu32 " s, ended: %.200s", tenths / 10, tenths % 10, text);
  became_late();
  {
    const Lock lock(guard);
    const int64_t now = monotonic_ms();
    any_late = true;
    texts[next_text++ % texts.size()] = {hash_of_text(text), now + rest_ms};
    if (Request::current() != nullptr) losses[next_loss++ % losses.size()] = {now, waited_ms};
    const uint64_t hash = hash_of_program(text);
    Program *program = find_program(hash);
    if (program == nullptr) {
      program = &programs[next_program++ % programs.size()];
      *program = {hash, 0, 0};
    }
    ++program->in_a_row;
    program->try_at = now + try_share * shortest_try(deadline_ms);
  }
  if (LateObserver *told = late_observer.load()) {
    std::array<char, 64> word{};
    scan_word(word, text);
    told(word.data());
  }
}

void clear(const char *text) {
  const Lock lock(guard);
  if (!any_late) return;
  if (Program *program = find_program(hash_of_program(text))) program->in_a_row = 0;
}

void forget_all() {
  const Lock lock(guard);
  texts = {};
  programs = {};
  losses = {};
  any_late = false;
}

}  // namespace late
}  // namespace zol
