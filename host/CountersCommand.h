#pragma once

/// \file
/// `varo-host counters`: the counter blocks that hosts on this machine keep, or kept, in shared memory.
///
/// Guarantees
///   A  Objects are read only, by whatever is there at the moment: no maker can stop or end this command.
///   B  An object that cannot be read is an error by name, once; the others are shown. If no name means it, but it may
///      hold blocks that a name means, it is a note: the exit status does not tell.
///   C  While watching, what changed is shown at every interval: values, new blocks, new objects, vanished ones.
///
/// Use
///
///     return VaroHost::CountersCommand(options, out).run();

#include <map>
#include <string>
#include <vector>

#include <asio/io_context.hpp>

#include "host/ClockTime.h"
#include "host/CounterList.h"
#include "host/Options.h"
#include "host/Output.h"

namespace VaroHost {

class CountersCommand {
 public:
  CountersCommand(CountersOptions options, Output& out);

  /// Returns an exit status. Errors: `Trouble`.
  int run();

 private:
  int status() const;
  void watch();
  void step();
  void showNews(ClockTime now);
  void showChanges(ClockTime now);
  void redraw(ClockTime now);
  std::vector<std::string> complaints() const;
  std::vector<std::string> remarks() const;
  void complainAnew(std::vector<std::string> texts);

  CountersOptions const options_;
  Output& out_;
  CounterList list_;
  asio::io_context loop_;
  bool const isRedrawing_;
  bool isFirst_ = true;
  /// What was shown last, to tell what came and went.
  std::map<std::string, CounterObject::Identity, NaturalOrder> present_;
  std::string lastNews_;
  std::vector<std::string> said_;
  bool hasFailed_ = false;
};

}  // namespace VaroHost
