#pragma once

/// \file
/// A file that is written whole or not at all.
///
/// Guarantees
///   A  Until `commit` returned, whatever stood under the name stays as it was; what was begun leaves no trace, also when
///      the process is killed. (Where the file system knows no files without a name, where /proc is not there, or in the
///      instant of `commit`, that leaves a `.varo-host-XXXXXX` which nobody reads.)
///   B  Readers see the old content or the new one, never a part. A symbolic link keeps pointing, also to what is
///      not there yet; the file it names is the one that is replaced or made.
///   C  Only a regular file, or none, is replaced. A replaced file's permissions are kept, and its owner
///      and group as far as the process may give files away.
///   D  `check` tells beforehand what stands in the way, and leaves no trace either.
///
/// Use
///
///     VaroHost::AtomicFile file("state.json");
///     file.output().write(text);
///     file.commit();

#include <memory>
#include <string>

#include "host/Descriptor.h"
#include "host/Output.h"

namespace VaroHost {

class AtomicFile {
 public:
  /// Errors: `Trouble` naming the file and the reason.
  explicit AtomicFile(std::string const& file);
  ~AtomicFile();
  AtomicFile(AtomicFile const&) = delete;
  AtomicFile& operator=(AtomicFile const&) = delete;

  /// Errors: `Trouble` when nothing can be made in the file's place now.
  static void check(std::string const& file) { static_cast<void>(AtomicFile(file)); }

  Output& output() noexcept { return *output_; }
  /// Puts what was written in the file's place. Errors: `Trouble`.
  void commit();

 private:
  /// Opens what is written to: without a name where that is possible. False, and `errno`, on failure.
  bool open();
  /// Gives what was written a name beside the target. False, and `errno`, on failure.
  bool giveName();
  void removeTemporary() const noexcept;
  [[noreturn]] void fail(int error) const;

  std::string const name_;    ///< as it was given
  std::string const target_;  ///< where the name leads
  std::string temporary_;     ///< name of what is written, empty while it has none
  Descriptor descriptor_;     ///< closes after the output over it
  std::unique_ptr<Output> output_;
};

}  // namespace VaroHost
