#pragma once

#include <cstring>

#include "core/switches.hpp"

/// Sets a switch for as long as it lives.
class Switched {
 public:
  Switched(const char *name, int32_t value) : which_(&zol::switches()[0]) {
    while (strcmp(which_->name, name) != 0) ++which_;
    *which_->value = value;
  }
  Switched(const Switched &) = delete;
  Switched &operator=(const Switched &) = delete;
  ~Switched() { *which_->value = which_->initial; }

 private:
  const zol::Switch *which_;
};
