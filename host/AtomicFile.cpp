#include "host/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/LinkedPath.h"
#include "host/Text.h"
#include "host/Trouble.h"

namespace VaroHost {

namespace {

/// The directory of a path, with its slash; empty for a mere name.
std::string directoryOf(std::string const& path) {
  std::size_t const slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

/// Where a name leads, links followed; when there is nothing yet, the name that is missing there.
std::string resolved(std::string const& file) {
  if (char* const path = ::realpath(file.c_str(), nullptr); path != nullptr) {
    std::string target = path;
    std::free(path);
    return target;
  }
  if (errno != ENOENT) {
    throw Trouble(printable(file), errno);
  }
  std::string target = file;
  for (int links = 0; links < maxLinks; ++links) {
    std::string const next = linkTarget(target);
    if (next.empty()) {
      return target;
    }
    target = next.front() == '/' ? std::string() : directoryOf(target);
    target += next;
  }
  throw Trouble(printable(file), ELOOP);
}

/// As far as it may be done: who is not root gives no file away.
bool give(int descriptor, uid_t owner, gid_t group) {
  constexpr auto same = static_cast<uid_t>(-1);
  auto const isFine = [](int result) { return result == 0 || errno == EPERM || errno == EINVAL; };
  return isFine(::fchown(descriptor, same, group)) && isFine(::fchown(descriptor, owner, same));
}

/// Of a new file.
mode_t defaultPermissions() {
  mode_t const mask = ::umask(0);
  ::umask(mask);
  return 0666U & ~mask;
}

}  // namespace

AtomicFile::Descriptor::~Descriptor() {
  if (number >= 0) {
    ::close(number);
  }
}

AtomicFile::AtomicFile(std::string const& file) : name_(file), target_(resolved(file)) {
  struct stat facts {};
  // Of the name as it was given: what a descriptor's name under /proc leads to has no other.
  bool const isThere = ::stat(name_.c_str(), &facts) == 0;
  if (isThere && !S_ISREG(facts.st_mode)) {
    throw Trouble(printable(name_) + ": not a regular file");
  }
  std::string path = directoryOf(target_) + ".varo-host-XXXXXX";
  descriptor_.number = ::mkostemp(path.data(), O_CLOEXEC);
  if (descriptor_.number < 0) {
    fail(errno);
  }
  temporary_ = path;
  output_ = std::make_unique<Output>(descriptor_.number);
  mode_t const mode = isThere ? facts.st_mode & 0777U : defaultPermissions();
  // The owner first: another one takes bits away.
  if ((isThere && !give(descriptor_.number, facts.st_uid, facts.st_gid)) || ::fchmod(descriptor_.number, mode) != 0) {
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
