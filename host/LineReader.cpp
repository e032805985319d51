#include "host/LineReader.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace VaroHost {

// Twice the longest line: moving the rest to the front then stays rare.
LineReader::LineReader(int descriptor) : descriptor_(descriptor), buffer_(2 * maxLineBytes) {}

bool LineReader::hasLine() const noexcept {
  std::size_t const from = begin_ + searched_;
  return atEnd_ || std::memchr(buffer_.data() + from, '\n', end_ - from) != nullptr;
}

/// Moves `searched_` to the next newline, or to the end of what is there.
bool LineReader::search() noexcept {
  char const* const from = buffer_.data() + begin_;
  void const* const found = std::memchr(from + searched_, '\n', end_ - begin_ - searched_);
  searched_ = found != nullptr ? static_cast<std::size_t>(static_cast<char const*>(found) - from) : end_ - begin_;
  return found != nullptr;
}

LineReader::Result LineReader::taken(std::size_t bytes, bool newline) {
  line_ = std::string_view(buffer_.data() + begin_, bytes);
  std::size_t const used = bytes + (newline ? 1 : 0);
  begin_ += used;
  offset_ += used;
  searched_ = 0;
  ++number_;
  if (skipping_ || bytes > maxLineBytes) {
    skipping_ = false;
    line_ = {};
    return Result::tooLong;
  }
  return Result::line;
}

LineReader::Result LineReader::next() {
  line_ = {};
  if (search()) {
    return taken(searched_, true);
  }
  if (!atEnd_) {
    if (searched_ > maxLineBytes) {
      offset_ += searched_;
      begin_ = end_ = searched_ = 0;
      skipping_ = true;
    }
    if (!fill()) {
      return error_ == EINTR || error_ == EAGAIN ? Result::again : Result::failed;
    }
    if (search()) {
      return taken(searched_, true);
    }
  }
  if (!atEnd_) {
    return Result::again;
  }
  return searched_ != 0 || skipping_ ? taken(searched_, false) : Result::end;
}

bool LineReader::fill() {
  if (begin_ != 0) {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  ssize_t const got = ::read(descriptor_, buffer_.data() + end_, buffer_.size() - end_);
  if (got < 0) {
    error_ = errno;
    return false;
  }
  atEnd_ = got == 0;
  end_ += static_cast<std::size_t>(got);
  return true;
}

}  // namespace VaroHost
