#include "host/Ending.h"

#include <csignal>

#include "host/Repeater.h"

namespace VaroHost {

void addEndingSignals(asio::signal_set& signals) {
  signals.add(SIGINT);
  signals.add(SIGTERM);
  struct sigaction before {};
  if (::sigaction(SIGHUP, nullptr, &before) != 0 || before.sa_handler != SIG_IGN) {
    signals.add(SIGHUP);
  }
}

Ending::Ending(asio::io_context& loop) : loop_(loop), signals_(loop), timer_(loop) {
  addEndingSignals(signals_);
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
