#pragma once

// What the commands of one collection have printed, so that none of them runs twice in it.

#include <pthread.h>

#include "core/command/kept.hpp"

namespace zol {

/// While one lives, and zolarcReuse is on, a command text runs once for the thread that made it: whoever reads the text
/// again reads what it has printed the first time.
class Collection {
 public:
  Collection();
  Collection(const Collection &) = delete;
  Collection &operator=(const Collection &) = delete;
  ~Collection();

  /// The one of the calling thread; null when there is none, or zolarcReuse is off.
  static Collection *current();

  /// Copies what `command` has printed to `output`. False when it has not run yet.
  bool find(const char *command, kept::Output &output) const;
  /// Keeps what `command` has printed; without memory it is run again.
  void keep(const char *command, const kept::Output &output);

 private:
  struct Entry;

  pthread_t thread_;
  Collection *next_;
  Entry *entries_ = nullptr;
};

}  // namespace zol
