#pragma once

// From names to addresses, without waiting: a name server may be silent for as long as the host that is asked for.

#include <sys/types.h>

#include <array>

#include "wdog/echo.hpp"
#include "wdog/settings.hpp"

namespace wdog {

using Addresses = std::array<Address, PingSettings::most_targets>;

/// The address that `text` is, if it is one and no name.
bool read_address(const char *text, Address &address);

/// A process that looks names up and tells what it finds through a pipe.
class Resolver {
 public:
  Resolver() = default;
  Resolver(const Resolver &) = delete;
  Resolver &operator=(const Resolver &) = delete;
  ~Resolver() { stop(); }

  /// Looks up every target that is a name, unless that is being done already.
  void start(const PingSettings &settings);
  /// Takes what was found so far. A name that is not found keeps the address it had.
  void take(Addresses &addresses);
  void stop();
  /// -1 when nothing is being looked up.
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_ = -1;
  pid_t process_ = -1;
};

}  // namespace wdog
