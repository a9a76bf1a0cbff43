#pragma once

#include <pthread.h>

namespace zol {

/// One object being asked for or set, on the agent's thread: as long as it lives, commands run for that object.
/// Messages name it, and it tells whether one of its commands was late, so that no half-read value is handed out.
class Request {
 public:
  explicit Request(const char *object);
  Request(const Request &) = delete;
  Request &operator=(const Request &) = delete;
  ~Request();

  [[nodiscard]] bool late() const { return late_; }
  [[nodiscard]] const char *object() const { return object_; }
  void became_late() { late_ = true; }

  /// The one that lives on this thread, or null.
  static Request *current();

 private:
  const char *object_;
  Request *outer_ = nullptr;
  bool late_ = false;
};

}  // namespace zol
