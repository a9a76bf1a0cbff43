#pragma once

#include <pthread.h>

namespace zol {

/// Holds a mutex for as long as it lives.
class Lock {
 public:
  explicit Lock(pthread_mutex_t &mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  Lock(const Lock &) = delete;
  Lock &operator=(const Lock &) = delete;
  ~Lock() { pthread_mutex_unlock(&mutex_); }

 private:
  pthread_mutex_t &mutex_;
};

}  // namespace zol
