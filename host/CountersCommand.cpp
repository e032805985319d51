#include "host/CountersCommand.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "host/Complaint.h"
#include "host/CounterJson.h"
#include "host/CounterRemoval.h"
#include "host/CounterTable.h"
#include "host/Ending.h"
#include "host/Repeater.h"
#include "host/Text.h"

namespace VaroHost {

namespace {

std::vector<NamePattern> patternsOf(std::vector<std::string> const& names) { return {names.begin(), names.end()}; }

std::string faultOf(CounterObject const& object) {
  return fmt::format("{}: {}", printable(object.name()), object.fault());
}

}  // namespace

CountersCommand::CountersCommand(CountersOptions options, Output& out)
  : options_(std::move(options)),
    out_(out),
    list_(patternsOf(options_.names), options_.isUnlinking ? CounterList::Scope::managers : CounterList::Scope::all),
    isRedrawing_(options_.isWatching && !options_.isJson && out.isScreen()) {}

int CountersCommand::run() {
  if (options_.isWatching) {
    watch();
    return status();
  }
  list_.refresh();
  if (options_.isUnlinking) {
    complainAnew(list_.unmatched());
    bool const isDone = CounterRemoval(list_, out_).run(options_.isConfirmed);
    return isDone && list_.unmatched().empty() ? ExitStatus::fine : ExitStatus::someFailed;
  }
  complainAnew(remarks());
  if (options_.isJson) {
    CounterJson(out_).print(list_);
  } else {
    CounterTable(list_).print(out_);
  }
  return status();
}

int CountersCommand::status() const {
  return hasFailed_ || !complaints().empty() ? ExitStatus::someFailed : ExitStatus::fine;
}

void CountersCommand::watch() {
  Ending ending(loop_);
  if (options_.duration) {
    ending.after(*options_.duration);
  }
  Repeater repeater(loop_, options_.interval, [this] { step(); });
  repeater.start();
  step();
  // A reader that went at once has stopped the loop.
  loop_.run();
}

void CountersCommand::step() {
  list_.refresh();
  ClockTime const now = ClockTime::now();
  showNews(now);
  if (isRedrawing_) {
    redraw(now);
  } else if (isFirst_ && !options_.isJson) {
    CounterTable(list_).print(out_);
    out_.write("\n");
  } else {
    showChanges(now);
  }
  out_.flush();
  if (!isRedrawing_) {
    complainAnew(remarks());
  }
  for (CounterObject const* const object : list_.shown()) {
    hasFailed_ = hasFailed_ || !object->fault().empty();
  }
  isFirst_ = false;
  if (out_.ended()) {
    loop_.stop();
  }
}

/// Tells of objects that came and went; what was there at the start is no news.
void CountersCommand::showNews(ClockTime now) {
  std::map<std::string, CounterObject::Identity, NaturalOrder> present;
  for (CounterObject const* const object : list_.shown()) {
    present.emplace(object->name(), object->identity());
  }
  auto const tell = [&](std::string const& name, bool isThere) {
    if (options_.isJson) {
      CounterJson(out_).printObject(now, name, isThere);
      return;
    }
    std::string const text = fmt::format("{}  {}: {}", now.text(), printable(name), isThere ? "added" : "gone");
    if (isRedrawing_) {
      lastNews_ = "; " + text;
    } else {
      out_.print("{}\n", text);
    }
  };
  for (auto const& [name, identity] : present_) {
    auto const found = present.find(name);
    if (found == present.end() || found->second != identity) {
      tell(name, false);
    }
  }
  for (auto const& [name, identity] : present) {
    auto const found = present_.find(name);
    if (!isFirst_ && (found == present_.end() || found->second != identity)) {
      tell(name, true);
    }
  }
  present_ = std::move(present);
}

void CountersCommand::showChanges(ClockTime now) {
  std::string const time = now.text();
  for (CounterObject const* const object : list_.shown()) {
    for (std::uint32_t const row : object->rows()) {
      auto const& block = object->blocks()[row];
      if (!block.isChanged) {
        continue;
      }
      if (out_.ended()) {
        return;
      }
      if (options_.isJson) {
        CounterJson(out_).printValue(now, *object, block);
      } else {
        out_.print("{}  {}  {}  {}\n", time, printable(object->name()), printable(block.name), block.value);
      }
    }
  }
}

/// The table in the place of the one before, what came or went last, and what is wrong.
void CountersCommand::redraw(ClockTime now) {
  Output::Size const size = out_.screenSize();
  std::vector<std::string> notes = remarks();
  notes.insert(notes.begin(), now.text() + lastNews_);
  out_.write("\x1b[H\x1b[J");
  CounterTable(list_).print(out_, {size.lines - std::min(size.lines, notes.size() + 1), size.columns});
  for (std::string const& note : notes) {
    out_.print("{}\n", displayWidth(note) <= size.columns ? note : excerpt(note, size.columns));
  }
}

/// What was asked for and cannot be shown.
std::vector<std::string> CountersCommand::complaints() const {
  std::vector<std::string> all = list_.unmatched();
  for (CounterObject const* const object : list_.shown()) {
    if (!object->fault().empty()) {
      all.push_back(faultOf(*object));
    }
  }
  return all;
}

/// That, and what cannot be read while it may hold more of what was asked for.
std::vector<std::string> CountersCommand::remarks() const {
  std::vector<std::string> all = complaints();
  for (CounterObject const* const object : list_.doubts()) {
    all.push_back(faultOf(*object) + "; what it holds is not known");
  }
  return all;
}

/// Says what was not said the last time.
void CountersCommand::complainAnew(std::vector<std::string> texts) {
  for (std::string const& text : texts) {
    if (std::find(said_.begin(), said_.end(), text) == said_.end()) {
      complain("varo-host: {}\n", text);
    }
  }
  said_ = std::move(texts);
}

}  // namespace VaroHost
