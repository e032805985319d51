#pragma once

/// \file
/// The rule of destructors.
///
/// Guarantees: each step is tried, and nothing is thrown.
///
/// Use
///
///     Owner::~Owner() {
///       Zon::quietly([this] { firstDel(); });
///       Zon::quietly([this] { secondDel(); });
///     }

namespace Zon {

/// Runs one step of a teardown. What it throws has been told through its own channel already; the teardown goes on.
template <class Step>
void quietly(Step const& step) noexcept {
  try {
    step();
  } catch (...) {
  }
}

}  // namespace Zon
