#include "host/Output.h"

#include <cerrno>
#include <cstdlib>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace VaroHost {

Output::Output(int descriptor) noexcept : descriptor_(descriptor), isTerminal_(::isatty(descriptor) != 0) {}

void Output::write(std::string_view text) {
  buffer_ += text;
  flushWhenLarge();
}

void Output::flush() noexcept {
  std::string_view rest = buffer_;
  while (!rest.empty() && error_ == 0) {
    ssize_t const written = ::write(descriptor_, rest.data(), rest.size());
    if (written >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      // Somebody made the shared descriptor nonblocking: wait for room.
      pollfd waited{descriptor_, POLLOUT, 0};
      ::poll(&waited, 1, -1);
    } else if (errno != EINTR) {
      error_ = errno;
    }
  }
  buffer_.clear();
}

bool Output::isScreen() const noexcept {
  char const* const terminal = std::getenv("TERM");
  bool const isDumb = terminal != nullptr && std::string_view(terminal) == "dumb";
  return isTerminal() && !isDumb;
}

Output::Size Output::screenSize() const noexcept {
  winsize size{};
  bool const isKnown = ::ioctl(descriptor_, TIOCGWINSZ, &size) == 0 && size.ws_row != 0 && size.ws_col != 0;
  return isKnown ? Size{size.ws_row, size.ws_col} : Size{24, 80};
}

int Output::error() const noexcept {
  bool const isReaderGone = error_ == EPIPE || (isTerminal_ && error_ == EIO);
  return isReaderGone ? 0 : error_;
}

}  // namespace VaroHost
