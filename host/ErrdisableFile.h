#pragma once

/// \file
/// The errdisable file as it is at one moment.
///
/// Guarantees
///   A  A text is what the file held as a whole: of one that was cut or written meanwhile nothing is told, and whoever
///      watches the file will hear of it. (Time stamps are coarse: a writing in place that keeps the size, within one
///      tick of the file system's clock, goes unnoticed until then, and the text may be mixed.)
///   B  Nothing in the file's place can stop the reader: pipes, devices and directories are refused, and what is huge.
///
/// Use
///
///     auto const read = VaroHost::ErrdisableFile::read("/etc/varo/errdisable");
///     if (read.result == VaroHost::ErrdisableFile::Result::text) parse(read.text);

#include <string>

namespace VaroHost {

struct ErrdisableFile {
  enum class Result {
    text,      ///< `text` holds it
    absent,    ///< there is no such file
    changing,  ///< somebody was writing to it at each attempt
    refused,   ///< `text` says why
  };

  static constexpr long maxBytes = 16L << 20;

  Result result;
  std::string text;

  static ErrdisableFile read(std::string const& file);
};

}  // namespace VaroHost
