#include "host/TraceSwitches.h"

#include <charconv>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "Zon/Trace.h"
#include "host/Text.h"
#include "host/Trouble.h"

namespace VaroHost {

namespace {

unsigned readLevel(std::string_view text, std::string_view whole) {
  unsigned level = 0;
  char const* const end = text.data() + text.size();
  auto const read = std::from_chars(text.data(), end, level);
  if (read.ec != std::errc() || read.ptr != end || level >= Zon::TraceHandle::levels) {
    throw Trouble(
        fmt::format("--trace {}: a level is a number from 0 to {}", excerpt(whole), Zon::TraceHandle::levels - 1));
  }
  return level;
}

}  // namespace

void TraceSwitches::apply(std::vector<std::string> const& switches) {
  std::vector<std::pair<std::string_view, unsigned>> wanted;
  for (std::string_view const whole : switches) {
    std::size_t const equals = whole.rfind('=');
    if (equals == std::string_view::npos || equals == 0) {
      throw Trouble(fmt::format("--trace {}: write FACILITY=LEVEL, such as Errdisable=7", excerpt(whole)));
    }
    std::string_view levels = whole.substr(equals + 1);
    while (true) {
      std::size_t const comma = levels.find(',');
      wanted.emplace_back(whole.substr(0, equals), readLevel(levels.substr(0, comma), whole));
      if (comma == std::string_view::npos) {
        break;
      }
      levels.remove_prefix(comma + 1);
    }
  }
  for (auto const& [facility, level] : wanted) {
    Zon::TraceHandle const handle(facility, true);
    handle.enabledIs(true);
    handle.levelIs(level, true);
  }
}

}  // namespace VaroHost
