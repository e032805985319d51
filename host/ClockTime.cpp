#include "host/ClockTime.h"

#include <ctime>

#include <fmt/format.h>

namespace VaroHost {

std::string ClockTime::text() const {
  std::time_t const seconds = Clock::to_time_t(moment_);
  auto const milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(moment_.time_since_epoch()).count() % 1000;
  std::tm local{};
  ::localtime_r(&seconds, &local);
  return fmt::format("{:02}:{:02}:{:02}.{:03}", local.tm_hour, local.tm_min, local.tm_sec, milliseconds);
}

}  // namespace VaroHost
