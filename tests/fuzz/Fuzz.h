#pragma once

/// \file
/// What the fuzz targets share: an input taken apart into choices, and the check that ends a run.
///
/// Use
///
///     extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
///       Fuzz::Input input(data, size);
///       while (!input.atEnd()) {
///         switch (input.choice(3)) { ... }
///       }
///       Fuzz::require(list.empty(), "the list is empty");
///       return 0;
///     }

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace Fuzz {

/// Ends the run, which keeps the input.
inline void require(bool holds, char const* what) {
  if (!holds) {
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
  }
}

/// Bytes, consumed from the front; past the end there are zeros.
class Input {
 public:
  Input(std::uint8_t const* data, std::size_t size) noexcept
    : rest_(reinterpret_cast<char const*>(data), data == nullptr ? 0 : size) {}

  bool atEnd() const noexcept { return rest_.empty(); }
  std::string_view rest() const noexcept { return rest_; }
  std::uint8_t byte() noexcept {
    std::string_view const taken = bytes(1);
    return taken.empty() ? 0 : static_cast<std::uint8_t>(taken[0]);
  }
  /// A number below `count`.
  std::size_t choice(std::size_t count) noexcept { return byte() % count; }
  bool flag() noexcept { return choice(2) != 0; }
  std::int32_t integer() noexcept {
    std::uint32_t value = 0;
    for (int at = 0; at < 4; ++at)
      value = value << 8U | byte();
    return static_cast<std::int32_t>(value);
  }
  /// At most so many.
  std::string_view bytes(std::size_t count) noexcept {
    std::string_view const taken = rest_.substr(0, count);
    rest_.remove_prefix(taken.size());
    return taken;
  }
  /// Up to the next `end`, which is consumed but not returned.
  std::string_view until(char end) noexcept {
    std::string_view const taken = bytes(std::min(rest_.find(end), rest_.size()));
    bytes(1);
    return taken;
  }

 private:
  std::string_view rest_;
};

}  // namespace Fuzz
