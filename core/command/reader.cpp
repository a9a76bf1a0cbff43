#include "core/command/reader.hpp"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/command/counters.hpp"
#include "core/command/late.hpp"
#include "core/command/once.hpp"
#include "core/command/request.hpp"
#include "core/log.hpp"
#include "core/switches.hpp"

namespace zol {

namespace {

/// How often a command that prints nothing is looked after.
constexpr int look_ms = 20;
/// A command that has printed all that is wanted of it is about to end.
constexpr int64_t farewell_ms = 500;
/// What the tools print of all stations is read to its end.
constexpr size_t most_in_collection = 4'194'304;

/// A device short of memory fails every command of a walk.
void tell_failure(bool failed) {
  static constinit Complaint failing;
  if (failed) {
    failing.raise("cannot start a command: %s", strerror(errno));
  } else {
    failing.over();
  }
}

}  // namespace

void LineReader::start(const Limits &limits, const char *format, va_list arguments) {
  line_[0] = '\0';
  command_.append(format, arguments);
  if (!command_.complete()) return;
  unquoter_ = Unquoter(command_.text());
  asked_ = AskedOption(command_.text());
  if (reuse_is_on()) {
    reuse_or_run(limits);
  } else {
    run(limits);
  }
}

void LineReader::reuse_or_run(const Limits &limits) {
  Collection *collection = Collection::current();
  if (collection != nullptr && collection->find(command_.text(), whole_)) {
    ++command_counters.reused;
    started_ = true;
    hand_out_whole();
    return;
  }
  const kept::Sources sources(command_.text());
  if (sources.any()) {
    run_and_keep(limits, sources);
  } else if (collection != nullptr) {
    run({limits.seconds, std::max(limits.bytes, most_in_collection)});
    read_whole();
    hand_out_whole();
  } else {
    run(limits);
  }
  if (collection != nullptr && started_ && !late_ && rest_ == rest_end_) collection->keep(command_.text(), whole_);
}

/// Reads all that the command prints ahead. False when memory is short: then what was read is handed out, and after it
/// the rest as it comes.
bool LineReader::read_whole() {
  bool fits = true;
  while (fits && refill()) fits = whole_.append(cursor_, static_cast<size_t>(end_ - cursor_));
  if (fits) return true;
  rest_ = cursor_;
  rest_end_ = end_;
  return false;
}

void LineReader::hand_out_whole() {
  cursor_ = whole_.data();
  end_ = cursor_ + whole_.size();
}

void LineReader::run(const Limits &limits) {
  deadline_ms_ = int64_t{limits.seconds >= 0 ? limits.seconds : deadline_seconds()} * 1000;
  left_ = limits.bytes;
  const auto time = late::time_for(command_.text(), deadline_ms_);
  late_ = !time;
  if (late_) return;
  child_ = process::start_reading(command_.text(), process::Through::what_it_needs);
  started_ = child_.pid != -1;
  tell_failure(!started_);
  started_at_ = monotonic_ms();
  deadline_ = Deadline(*time);
}

void LineReader::run_and_keep(const Limits &limits, const kept::Sources &sources) {
  if (kept::find(command_.text(), sources, whole_)) {
    ++command_counters.reused;
    started_ = true;
  } else {
    const bool at_rest = sources.at_rest();
    run(limits);
    if (read_whole() && started_ && at_rest && finish() != -1 && kept::Sources(command_.text()) == sources) {
      kept::keep(command_.text(), sources, whole_);
    }
  }
  hand_out_whole();
}

/// Nothing that the command prints from now on counts, nor what it has printed.
void LineReader::give_up() {
  late_ = true;
  if (!deadline_.cut_short()) {
    late::remember(command_.text(), monotonic_ms() - started_at_, deadline_ms_);
  } else if (Request *request = Request::current()) {
    request->became_late();
  }
  end();
}

void LineReader::end() {
  process::end(child_.pid);
  child_.pid = 0;
}

/// Reads the next block; false at the end of the output.
bool LineReader::refill() {
  bool has_ended = false;
  while (child_.output != -1) {
    pollfd polled{child_.output, POLLIN, 0};
    const int ready = poll(&polled, 1, deadline_.slice(look_ms));
    if (ready == 1) return read_block();
    deadline_.look_up(ready == -1 && errno == EINTR);
    if (deadline_.passed()) {
      give_up();
      return false;
    }
    // A command may leave somebody behind who holds the pipe. What it has printed itself is there by now.
    if (has_ended) return false;
    has_ended = ready == 0 && process::has_ended(child_.pid);
  }
  return false;
}

bool LineReader::read_block() {
  const ssize_t count = ::read(child_.output, block_.data(), block_.size());
  if (count <= 0) return false;
  if (static_cast<size_t>(count) > left_) {
    log_line("prints more than is read of it, ended: %.200s", command_.text());
    end();
    return false;
  }
  left_ -= static_cast<size_t>(count);
  cursor_ = block_.data();
  end_ = cursor_ + unquoter_.apply(block_.data(), static_cast<size_t>(count));
  return true;
}

/// Whether there is something to be handed out.
bool LineReader::has_more() {
  if (cursor_ != end_) return true;
  if (rest_ == rest_end_) return refill();
  cursor_ = rest_;
  end_ = rest_end_;
  rest_ = rest_end_ = nullptr;
  return true;
}

int LineReader::finish() {
  if (child_.output != -1) close(child_.output);
  child_.output = -1;
  if (child_.pid > 0) {
    Deadline farewell(farewell_ms);
    int status = 0;
    if (process::wait(child_.pid, farewell, &status)) {
      late::clear(command_.text());
      status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      if (status_ == process::not_there) process::tell_missing(command_.text());
      child_.pid = 0;
    } else {
      end();
    }
  } else if (started_ && !late_ && status_ == -1) {
    status_ = 0;
  }
  return status_;
}

bool LineReader::read() {
  do {
    if (!read_piece()) return false;
    if (!in_line_) passes_over_ = asked_.is_other(line_);
    in_line_ = strchr(line_, '\n') == nullptr;
  } while (passes_over_);
  return true;
}

/// The next line, or as much of it as the buffer takes.
bool LineReader::read_piece() {
  size_t length = 0;
  const char *newline = nullptr;
  while (newline == nullptr && length + 1 < size_ && has_more()) {
    const size_t room = std::min(static_cast<size_t>(end_ - cursor_), size_ - 1 - length);
    newline = static_cast<const char *>(memchr(cursor_, '\n', room));
    const size_t count = newline != nullptr ? static_cast<size_t>(newline - cursor_) + 1 : room;
    memcpy(line_ + length, cursor_, count);
    cursor_ += count;
    length += count;
  }
  if (late_) length = 0;
  line_[length] = '\0';
  length_as_read_ = strlen(line_);
  is_whole_ = newline != nullptr;
  return length > 0;
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
