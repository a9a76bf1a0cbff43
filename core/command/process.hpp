#pragma once

// Starts processes, waits for them with an end in sight, and ends those that are late.

#include <sys/types.h>

#include <cstdint>

#include "core/command/deadline.hpp"

namespace zol::process {

/// Who runs a command text.
enum class Through : bool {
  /// The program that its first word names, with the other words, when the text has no shell syntax; else the shell.
  what_it_needs,
  shell,
};

/// A started command. Every command is a process group of its own, with default signal dispositions and none of the
/// agent's descriptors but the standard ones.
struct Child {
  /// -1 when it could not be started (errno says why), 0 when a test stands in for it.
  pid_t pid = -1;
  /// The pipe with what it prints, or -1.
  int output = -1;
};

/// Starts a command text whose output is to be read.
Child start_reading(const char *text, Through through);

/// Starts a command text that writes where the agent writes.
Child start(const char *text, Through through);

/// Starts a program by its words, the last of which is null. A program that is not there ends silently.
/// @param announced written to standard error by the child first; may be null
Child start_words(char *const *words, const char *announced);

/// Starts a program by its words as nobody's child, so that it leaves no zombie: an intermediate child, which is waited
/// for, ends at once. @param pid_pipe where that writes the program's pid, as four bytes; -1 for nowhere
/// @return whether a process could be made
bool start_detached(char *const *words, int pid_pipe);

/// What a shell, and a start without one, answers for a program that is not there.
constexpr int not_there = 127;
/// Says in the log that a program of this command text is not there; once, until another one is not.
void tell_missing(const char *text);

/// Whether a child has ended; it is still to be waited for.
bool has_ended(pid_t pid);

/// Waits for a child's end. @return false when the deadline came first
bool wait(pid_t pid, Deadline &deadline, int *status);

/// Ends a child and all of its group: asked to at first, made to a second later. Does not wait.
void end(pid_t pid);

/// Lets a child finish, however long it takes.
void leave(pid_t pid);

/// Takes leave of children that are to be ended or have ended. Called at every start.
void tend();
/// The same; has the agent's alarm do it as long as there are any.
void tend_from_the_agent();

/// What a test has in place of processes: it may take a command text for itself and answer with `child`.
using StandIn = bool(const char *text, bool reads, Child &child);
/// @return the one before
StandIn *set_stand_in(StandIn *stand_in);

}  // namespace zol::process
