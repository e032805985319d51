#pragma once

/// \file
/// Steps that are all done, whatever one of them throws: `Zon::FirstThrown`.
///
/// Guarantees: every step is tried, in order; the first exception leaves when all are done, later ones are dropped.
///
/// Use
///
///     FirstThrown thrown;
///     thrown.attempt([&] { first.parentIs(nullptr); });
///     thrown.attempt([&] { second.parentIs(owner); });
///     thrown.rethrow();

#include <exception>

namespace Zon {

class FirstThrown {
 public:
  template <class Step>
  void attempt(Step const& step) noexcept {
    try {
      step();
    } catch (...) {
      if (!thrown_) {
        thrown_ = std::current_exception();
      }
    }
  }

  explicit operator bool() const noexcept { return static_cast<bool>(thrown_); }

  /// Throws what the first failed step threw; returns when none failed.
  void rethrow() const {
    if (thrown_) {
      std::rethrow_exception(thrown_);
    }
  }

 private:
  std::exception_ptr thrown_;
};

}  // namespace Zon
