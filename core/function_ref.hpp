#pragma once

namespace zol {

/// A callable handed down for the time of a call. It costs a call through a pointer, where a template costs the code of
/// the function anew for every callable.
template <class Signature>
class FunctionRef;

template <class Result, class... Arguments>
class FunctionRef<Result(Arguments...)> {
 public:
  template <class Callable>
  FunctionRef(const Callable &callable)  // NOLINT(google-explicit-constructor): a lambda is written where it is used
      : callable_(&callable), call_([](const void *called, Arguments... arguments) -> Result {
          return (*static_cast<const Callable *>(called))(arguments...);
        }) {}

  Result operator()(Arguments... arguments) const { return call_(callable_, arguments...); }

 private:
  const void *callable_;
  Result (*call_)(const void *, Arguments...);
};

}  // namespace zol
