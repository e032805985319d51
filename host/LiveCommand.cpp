#include "host/LiveCommand.h"

#include <utility>

#include <fmt/format.h>

#include "Zon/Exception.h"
#include "host/ClockTime.h"
#include "host/Complaint.h"
#include "host/ErrdisableFile.h"
#include "host/ErrdisableList.h"
#include "host/Text.h"

namespace VaroHost {

namespace {

/// How long the end waits for the kernel to tell of what was released.
constexpr std::chrono::seconds echoPatience{2};

}  // namespace

LiveCommand::LiveCommand(LiveOptions options, Output& out)
  : options_(std::move(options)),
    out_(out),
    device_(options_.isFollowing ? &follower_ : nullptr, CounterMemory(options_.counterMemory)),
    report_(options_, out),
    switch_(options_.isEnforcing ? std::make_unique<KernelLinkSwitch>() : nullptr),
    links_(device_, switch_.get(), *this),
    ending_(loop_),
    counting_(loop_, options_.interval, [this] { count(); }),
    monitor_(loop_, links_) {
  try {
    counters_.emplace(device_.queueCounters());
  } catch (Zon::Exception const& error) {
    if (!options_.counterMemory.empty()) {
      throw;
    }
    countersFailed(error.what());
  }
}

int LiveCommand::run() {
  if (!options_.errdisableFile.empty()) {
    errdisableWatch_.emplace(loop_, options_.errdisableFile,
                             [this](FileWatch::Content content) { loadErrdisable(content); });
    loadErrdisable(FileWatch::Content::whole);
  }
  monitor_.start();
  std::exception_ptr trouble;
  try {
    loop_.run();
  } catch (...) {
    trouble = std::current_exception();
  }
  if (!options_.leavesDown) {
    links_.releaseAll();
  }
  if (trouble) {
    std::rethrow_exception(trouble);
  }
  awaitEchoes();
  // Where only a moment was asked for, its table has been printed; JSON is one document, at the end.
  if (isShown_ && (options_.goesOn() || options_.isJson)) {
    if (options_.isFollowing) {
      report_.gap();
    }
    show();
  }
  if (isShown_) {
    report_.state(device_);
  }
  return status_;
}

void LiveCommand::awaitEchoes() {
  ending_.cancelTime();
  asio::steady_timer patience(loop_, echoPatience);
  bool isOver = false;
  patience.async_wait([&isOver](asio::error_code const&) { isOver = true; });
  loop_.restart();
  while (links_.awaitsNews() && !isOver && !out_.ended() && loop_.run_one() != 0) {
  }
}

void LiveCommand::stop() { loop_.stop(); }

void LiveCommand::show() {
  report_.interfaces(InterfaceList(device_, [this](Zon::String8 const& name) { return links_.facts(name); }));
}

void LiveCommand::synchronized() {
  isShown_ = true;
  // What led to the first table is no change.
  follower_.flush([](StateFollower::Transition const&) {});
  count();
  if (!options_.isJson) {
    show();
  }
  if (!options_.goesOn()) {
    return stop();
  }
  report_.gap();
  out_.flush();
  counting_.start();
  if (options_.duration) {
    ending_.after(*options_.duration);
  }
}

void LiveCommand::interfaceIs(std::string const& name, LinkFacts const& facts) {
  if (!counters_) {
    return;
  }
  auto const error = counters_->linkIs(facts.index, name, facts.transmitQueues);
  // Memory that is exhausted stays so: what holds for one link holds for all that follow.
  if (error && std::exchange(hasAllBlocks_, false)) {
    countersFailed(*error);
  }
}

void LiveCommand::interfaceDel(LinkFacts const& facts) {
  if (counters_) {
    counters_->linkDel(facts.index);
  }
}

void LiveCommand::count() {
  if (!counters_) {
    return;
  }
  std::string const error = counters_->refresh().value_or("");
  if (!error.empty() && error != countError_) {
    countersFailed(error);
  }
  countError_ = error;
}

void LiveCommand::countersFailed(std::string const& text) {
  if (!options_.counterMemory.empty()) {
    return failed(text);
  }
  out_.flush();
  complain("varo-host: {}\n", text);
}

void LiveCommand::changed() {
  if (!isShown_ || !options_.isFollowing) {
    return;
  }
  auto const now = ClockTime::now();
  follower_.flush(
      [&](StateFollower::Transition const& transition) { report_.change(now.seconds(), now.text(), transition); });
  out_.flush();
  if (out_.ended()) {
    stop();
  }
}

void LiveCommand::note(std::string const& text) {
  if (options_.isFollowing) {
    report_.remark(ClockTime::now().text(), text);
    out_.flush();
  }
}

void LiveCommand::enforced(std::string const& text) {
  if (options_.isJson || options_.isStateOutput()) {
    complain("varo-host: {}\n", text);
    return;
  }
  report_.remark(ClockTime::now().text(), text);
  out_.flush();
}

void LiveCommand::failed(std::string const& text) {
  out_.flush();
  complain("varo-host: {}\n", text);
  status_ = ExitStatus::someFailed;
}

std::optional<std::string> LiveCommand::readErrdisable() {
  using Result = ErrdisableFile::Result;
  auto read = ErrdisableFile::read(options_.errdisableFile);
  std::string const shown = printable(options_.errdisableFile);
  switch (read.result) {
  case Result::text:
    return std::move(read.text);
  case Result::absent:
    complain("varo-host: {}: does not exist; no interface is error-disabled until it does\n", shown);
    return "";
  case Result::changing:
    break;
  case Result::refused:
    failed(fmt::format("{}: {}; {}", shown, read.text, inForce()));
    break;
  }
  return std::nullopt;
}

char const* LiveCommand::inForce() const noexcept {
  return hasList_ ? "what it said before stays in force" : "no interface is error-disabled";
}

void LiveCommand::loadErrdisable(FileWatch::Content content) {
  auto const text = readErrdisable();
  // Who emptied the file or is in the middle of a line will go on or close it, and we hear of either.
  bool const isUnfinished = content == FileWatch::Content::beingWritten && text && !text->ends_with('\n');
  if (!text || isUnfinished) {
    return;
  }
  auto const list = ErrdisableList::parse(*text);
  if (list.complaints.empty()) {
    hasList_ = true;
    links_.errdisabledIs(list.entries);
    return;
  }
  out_.flush();
  for (auto const& complaint : list.complaints) {
    complain("{}:{}:{}: {}\n", printable(options_.errdisableFile), complaint.line, complaint.column, complaint.reason);
  }
  if (list.hasMoreBadLines) {
    complain("{}: more bad lines, not shown\n", printable(options_.errdisableFile));
  }
  failed(fmt::format("{}: not taken; {}", printable(options_.errdisableFile), inForce()));
}

}  // namespace VaroHost
