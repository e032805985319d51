#include "host/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/Text.h"
#include "host/Trouble.h"

namespace VaroHost {

namespace {

/// Where a name leads, links followed; the name itself when there is nothing yet.
std::string resolved(std::string const& file) {
  char* const path = ::realpath(file.c_str(), nullptr);
  std::string target = path != nullptr ? path : file;
  std::free(path);
  return target;
}

std::string besides(std::string const& target) {
  std::size_t const slash = target.rfind('/');
  return (slash == std::string::npos ? std::string() : target.substr(0, slash + 1)) + ".varo-host-XXXXXX";
}

}  // namespace

AtomicFile::Descriptor::~Descriptor() {
  if (number >= 0) {
    ::close(number);
  }
}

AtomicFile::AtomicFile(std::string const& file) : name_(file), target_(resolved(file)) {
  mode_t const mode = permissions();
  std::string path = besides(target_);
  descriptor_.number = ::mkostemp(path.data(), O_CLOEXEC);
  if (descriptor_.number < 0) {
    fail(errno);
  }
  temporary_ = path;
  output_ = std::make_unique<Output>(descriptor_.number);
  if (::fchmod(descriptor_.number, mode) != 0) {
    int const error = errno;
    ::unlink(temporary_.c_str());
    fail(error);
  }
}

AtomicFile::~AtomicFile() {
  if (!temporary_.empty()) {
    ::unlink(temporary_.c_str());
  }
}

mode_t AtomicFile::permissions() const {
  struct stat facts {};
  if (::stat(target_.c_str(), &facts) == 0) {
    if (!S_ISREG(facts.st_mode)) {
      throw Trouble(printable(name_) + ": not a regular file");
    }
    return facts.st_mode & 0777U;
  }
  mode_t const mask = ::umask(0);
  ::umask(mask);
  return 0666U & ~mask;
}

void AtomicFile::commit() {
  output_->flush();
  if (output_->error() != 0) {
    fail(output_->error());
  }
  if (::fsync(descriptor_.number) != 0 || std::rename(temporary_.c_str(), target_.c_str()) != 0) {
    fail(errno);
  }
  temporary_.clear();
}

void AtomicFile::fail(int error) const { throw Trouble(printable(name_), error); }

}  // namespace VaroHost
