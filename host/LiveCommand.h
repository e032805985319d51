#pragma once

/// \file
/// `varo-host live`: this machine's own interfaces, shown, followed and, with `--enforce`, guarded.
///
/// Guarantees
///   A  Without `--enforce` the machine is never changed.
///   B  On a clean end (signal, time over, reader gone, trouble) everything held is released, unless `--leave-down`.
///   C  The last table is printed after that, and after the kernel has told of each link set up (or two seconds).
///   D  The kernel's statistics are in the counter blocks before anything is shown, and at every interval after that.
///      Without a name for the counters what goes wrong with them is a note; the exit status does not tell.
///   E  A bad errdisable file is reported line by line; the content before it stays in force.
///
/// Use
///
///     return VaroHost::LiveCommand(options, out).run();

#include <memory>
#include <optional>
#include <string>

#include <asio/io_context.hpp>

#include "host/Device.h"
#include "host/Ending.h"
#include "host/FileWatch.h"
#include "host/LinkMonitor.h"
#include "host/LinkSwitch.h"
#include "host/LiveCounters.h"
#include "host/LiveLinks.h"
#include "host/Options.h"
#include "host/Output.h"
#include "host/Repeater.h"
#include "host/Report.h"
#include "host/StateFollower.h"

namespace VaroHost {

class LiveCommand final : private LiveLinks::Events {
 public:
  /// Errors: `Trouble`.
  LiveCommand(LiveOptions options, Output& out);

  /// Returns an exit status. Errors: `Trouble`.
  int run();

 private:
  void changed() override;
  void note(std::string const& text) override;
  void enforced(std::string const& text) override;
  void failed(std::string const& text) override;
  void synchronized() override;
  void interfaceIs(std::string const& name, LinkFacts const& facts) override;
  void interfaceDel(LinkFacts const& facts) override;

  /// Brings the counters up to date.
  void count();
  /// Counters that nobody else can read are no reason to fail.
  void countersFailed(std::string const& text);
  /// What a list that is not taken leaves.
  char const* inForce() const noexcept;
  void loadErrdisable(FileWatch::Content content);
  /// The file's content, empty when it does not exist, nothing when it cannot be read (which is reported) or
  /// is being written (of which the watch will tell).
  std::optional<std::string> readErrdisable();
  /// Lets the kernel tell of what was just released, so that the last table shows it.
  void awaitEchoes();
  void show();
  void stop();

  LiveOptions const options_;
  Output& out_;
  StateFollower follower_;
  Device device_;
  /// Null where private memory cannot be had.
  std::optional<LiveCounters> counters_;
  Report report_;
  std::unique_ptr<KernelLinkSwitch> switch_;
  LiveLinks links_;

  asio::io_context loop_;
  Ending ending_;
  Repeater counting_;
  LinkMonitor monitor_;
  std::optional<FileWatch> errdisableWatch_;

  bool isShown_ = false;
  /// Whether an errdisable list was taken.
  bool hasList_ = false;
  bool hasAllBlocks_ = true;
  std::string countError_;
  int status_ = ExitStatus::fine;
};

}  // namespace VaroHost
