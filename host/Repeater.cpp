#include "host/Repeater.h"

#include <utility>

namespace VaroHost {

Repeater::Repeater(asio::io_context& loop, double seconds, std::function<void()> action)
  : timer_(loop), interval_(timerDuration(seconds)), action_(std::move(action)) {}

void Repeater::start() {
  timer_.expires_after(interval_);
  timer_.async_wait([this](asio::error_code const& error) {
    if (!error) {
      action_();
      start();
    }
  });
}

}  // namespace VaroHost
