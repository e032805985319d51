#include "host/TraceSwitches.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Zon/Trace.h"
#include "host/Text.h"
#include "host/Trouble.h"

namespace VaroHost {

namespace {

/// Most facilities are made on first use, so that their existence alone does not tell the names.
constexpr std::array<std::string_view, 4> knownFacilities = {"Errdisable", "RootPathBase::Zon", "VaroIntf", "Zon"};

void requireKnown(std::string_view facility, std::string_view whole) {
  bool const isKnown = std::find(knownFacilities.begin(), knownFacilities.end(), facility) != knownFacilities.end();
  if (!isKnown && !Zon::TraceHandle::exists(facility)) {
    throw Trouble(fmt::format("--trace {}: nothing traces to \"{}\"; known are {}", excerpt(whole), excerpt(facility),
                              fmt::join(knownFacilities, ", ")));
  }
}

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
    requireKnown(whole.substr(0, equals), whole);
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
