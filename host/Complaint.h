#pragma once

/// \file
/// What the program says on standard error.
///
/// Guarantee
///   A  A standard error that cannot be written to stops nothing: whatever is held must still be released.
///
/// Use
///
///     VaroHost::complain("varo-host: {}\n", error.what());

#include <cstdio>
#include <string>
#include <utility>

#include <fmt/format.h>

namespace VaroHost {

template <class... Args>
void complain(fmt::format_string<Args...> pattern, Args&&... args) {
  // Not fmt::print, which throws when it cannot write.
  std::string const text = fmt::format(pattern, std::forward<Args>(args)...);
  std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace VaroHost
