#include "host/InputFile.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/Text.h"
#include "host/Trouble.h"

namespace VaroHost {

InputFile::InputFile(std::string const& file) {
  bool const isStandard = file == "-";
  name_ = isStandard ? "<stdin>" : printable(file);
  descriptor_ = isStandard ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  struct stat facts {};
  if (descriptor_ < 0 || ::fstat(descriptor_, &facts) != 0) {
    throw Trouble(name_, errno);
  }
  if (S_ISDIR(facts.st_mode)) {
    throw Trouble(name_, EISDIR);
  }
  isRegular_ = S_ISREG(facts.st_mode);
  size_ = isRegular_ ? static_cast<std::uint64_t>(facts.st_size) : 0;
}

InputFile::~InputFile() {
  if (descriptor_ > STDERR_FILENO) {
    ::close(descriptor_);
  }
}

std::string InputFile::readAll(std::size_t limit) const {
  constexpr std::size_t step = 1U << 20U;
  auto const refuse = [&] { throw Trouble(fmt::format("{}: has more than {} bytes", name_, limit)); };
  if (size_ > limit) {
    refuse();
  }
  std::string text;
  std::size_t done = 0;
  while (true) {
    // One byte more than is known to be there, to see the end.
    text.resize(std::max<std::size_t>(done + step, size_ + 1));
    ssize_t const got = ::read(descriptor_, text.data() + done, text.size() - done);
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got < 0) {
      throw Trouble(name_, errno);
    }
    done += static_cast<std::size_t>(got);
    if (done > limit) {
      refuse();
    }
    if (got == 0) {
      text.resize(done);
      return text;
    }
  }
}

}  // namespace VaroHost
