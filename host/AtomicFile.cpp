#include "host/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <random>

#include <fcntl.h>
#include <fmt/format.h>
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

/// Of files that wait for their name, in the directory of the target.
std::string temporaryPrefix(std::string const& target) { return directoryOf(target) + ".varo-host-"; }

/// Where a file is found that has no name. Not there without the file system of processes.
constexpr char ownDescriptors[] = "/proc/self/fd/";

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

AtomicFile::AtomicFile(std::string const& file) : name_(file), target_(resolved(file)) {
  struct stat facts {};
  // Of the name as it was given: what a descriptor's name under /proc leads to has no other.
  bool const isThere = ::stat(name_.c_str(), &facts) == 0;
  if (isThere && !S_ISREG(facts.st_mode)) {
    throw Trouble(printable(name_) + ": not a regular file");
  }
  if (!open()) {
    fail(errno);
  }
  output_ = std::make_unique<Output>(descriptor_.number);
  mode_t const mode = isThere ? facts.st_mode & 0777U : defaultPermissions();
  // The owner first: another one takes bits away.
  if ((isThere && !give(descriptor_.number, facts.st_uid, facts.st_gid)) || ::fchmod(descriptor_.number, mode) != 0) {
    int const error = errno;
    removeTemporary();
    fail(error);
  }
}

AtomicFile::~AtomicFile() { removeTemporary(); }

void AtomicFile::removeTemporary() const noexcept {
  if (!temporary_.empty()) {
    ::unlink(temporary_.c_str());
  }
}

bool AtomicFile::open() {
  if (::access(ownDescriptors, X_OK) == 0) {
    std::string const directory = directoryOf(target_);
    descriptor_.number = ::open(directory.empty() ? "." : directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    // Not every file system knows that; one that does not takes it for an attempt to write a directory.
    if (descriptor_.number >= 0 || (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL)) {
      return descriptor_.number >= 0;
    }
  }
  std::string path = temporaryPrefix(target_) + "XXXXXX";
  descriptor_.number = ::mkostemp(path.data(), O_CLOEXEC);
  if (descriptor_.number >= 0) {
    temporary_ = path;
  }
  return descriptor_.number >= 0;
}

bool AtomicFile::giveName() {
  if (!temporary_.empty()) {
    return true;
  }
  std::string const self = ownDescriptors + std::to_string(descriptor_.number);
  // The target's name may be taken, and then only a rename replaces it: a name first that nobody has.
  std::random_device random;
  constexpr int attempts = 100;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    std::string path = fmt::format("{}{:08x}", temporaryPrefix(target_), random());
    if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) {
      temporary_ = path;
      return true;
    }
    if (errno != EEXIST) {
      return false;
    }
  }
  return false;
}

void AtomicFile::commit() {
  output_->flush();
  if (output_->error() != 0) {
    fail(output_->error());
  }
  if (::fsync(descriptor_.number) != 0 || !giveName() || std::rename(temporary_.c_str(), target_.c_str()) != 0) {
    fail(errno);
  }
  temporary_.clear();
}

void AtomicFile::fail(int error) const { throw Trouble(printable(name_), error); }

}  // namespace VaroHost
