#include "host/Ending.h"

#include <csignal>

#include "host/Repeater.h"

namespace VaroHost {

Ending::Ending(asio::io_context& loop) : loop_(loop), signals_(loop, SIGINT, SIGTERM, SIGHUP), timer_(loop) {
  signals_.async_wait([this](asio::error_code const& error, int) {
    if (!error) {
      loop_.stop();
    }
  });
}

void Ending::after(double seconds) {
  timer_.expires_after(timerDuration(seconds));
  timer_.async_wait([this](asio::error_code const& error) {
    if (!error) {
      loop_.stop();
    }
  });
}

}  // namespace VaroHost
