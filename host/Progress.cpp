#include "host/Progress.h"

#include <utility>

#include <unistd.h>

#include "host/Complaint.h"

namespace VaroHost {

Progress::Progress(std::string label, bool isWanted)
  : label_(std::move(label)), isActive_(isWanted && ::isatty(STDERR_FILENO) != 0), next_(Clock::now() + patience) {}

void Progress::update(std::uint64_t lines, std::uint64_t done, std::uint64_t total) {
  if (!isActive_) {
    return;
  }
  auto const now = Clock::now();
  if (now < next_) {
    return;
  }
  next_ = now + interval;
  isShown_ = true;
  if (total != 0) {
    complain("\r\x1b[K{}: {:.0f}%, {} lines", label_, 100.0 * static_cast<double>(done) / static_cast<double>(total),
             lines);
  } else {
    complain("\r\x1b[K{}: {} lines", label_, lines);
  }
}

void Progress::clear() {
  if (isShown_) {
    isShown_ = false;
    complain("\r\x1b[K");
  }
}

}  // namespace VaroHost
