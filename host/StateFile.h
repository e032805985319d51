#pragma once

/// \file
/// A state that `--state` wrote, read back.
///
/// Guarantees
///   A  Only states pass: objects of objects, texts, whole numbers, true, false and null, marked with the format that
///      this program writes. Repeated keys, lists and deeper nesting than a state has are refused where they stand.
///   B  Memory is bounded by the size of the file, whatever it holds.
///
/// Use
///
///     auto const state = VaroHost::StateFile::read("A");

#include <cstddef>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace VaroHost {

class StateFile {
 public:
  static constexpr std::size_t maxBytes = std::size_t{512} << 20U;
  static constexpr std::size_t maxDepth = 8;

  /// \param file "-" for standard input
  /// Errors: `Trouble`, which names the file and, for what is no state, the byte.
  static nlohmann::json read(std::string const& file);
  /// \param name as messages name it
  static nlohmann::json parse(std::string_view text, std::string const& name);

 private:
  class Builder;
};

}  // namespace VaroHost
