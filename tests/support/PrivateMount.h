#pragma once

/// \file
/// A file system in memory over a directory, which this process and what it starts see alone.
///
/// Guarantees
///   A  It begins empty and belongs to the caller, whoever that is. The rest of the machine sees nothing of it.
///   B  At its end the directory is what it was; the process stays in the namespaces it entered.
///   C  Where it is not permitted `reason` says why, and nothing was mounted.
///
/// Use
///
///     Support::PrivateMount const device("/dev/shm", "size=1m");
///     if (!device.reason().empty()) {
///       return Support::Namespace::refuse(device.reason());
///     }

#include <cerrno>
#include <cstring>
#include <string>

#include <sys/mount.h>

#include "support/Namespace.h"

namespace Support {

class PrivateMount {
 public:
  /// \param options of tmpfs
  PrivateMount(std::string directory, std::string const& options)
    : directory_(std::move(directory)), reason_(Namespace::enter(CLONE_NEWNS, "mount")) {
    if (reason_.empty() && (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                            ::mount("varo", directory_.c_str(), "tmpfs", 0, options.c_str()) != 0)) {
      reason_ = "nothing can be mounted here: " + std::string(std::strerror(errno));
    }
  }
  ~PrivateMount() {
    if (reason_.empty()) ::umount2(directory_.c_str(), MNT_DETACH);
  }
  PrivateMount(PrivateMount const&) = delete;
  PrivateMount& operator=(PrivateMount const&) = delete;

  /// Why there is none; empty when there is.
  std::string const& reason() const { return reason_; }

 private:
  std::string const directory_;
  std::string reason_;
};

}  // namespace Support
