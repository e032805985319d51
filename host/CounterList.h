#pragma once

/// \file
/// The objects of counter blocks on this machine, as far as somebody asked for them.
///
/// Guarantees
///   A  Every object of a manager that can be read is found by what it holds; other files are passed by.
///   B  Without a name everything is shown. A name shows the managers and blocks of exactly that name; when there are
///      none, those whose name begins with it; a shell pattern shows those whose whole name matches. Of a shown manager
///      all blocks are shown.
///   C  What cannot be read may hold blocks that a name means: until the name has shown something, that is a `doubt`.
///   D  Objects are made, damaged, truncated and removed by others at any time: `refresh` shows what holds now.
///
/// Use
///
///     VaroHost::CounterList list({VaroHost::NamePattern("line-card")});
///     list.refresh();
///     for (auto const* object : list.shown()) show(*object);

#include <map>
#include <string>
#include <vector>

#include "host/CounterObject.h"
#include "host/NamePattern.h"
#include "host/NaturalOrder.h"

namespace VaroHost {

class CounterList {
 public:
  /// What names are names of.
  enum class Scope { all, managers };

  explicit CounterList(std::vector<NamePattern> wanted, Scope scope = Scope::all, std::string directory = "/dev/shm");

  /// Reads everything again. Errors: `Trouble` when there is no shared memory at all.
  void refresh();

  /// In natural order; also those that cannot be read, if a name means them.
  std::vector<CounterObject const*> const& shown() const noexcept { return shown_; }
  /// Other objects that cannot be read, while they may hold what was asked for.
  std::vector<CounterObject const*> const& doubts() const noexcept { return doubts_; }
  /// Each name that has never shown anything, with the reason.
  std::vector<std::string> unmatched() const;
  /// Whether the object that was read under that name is still there under it.
  bool isStillThere(CounterObject const& object) const;

 private:
  class Directory;

  void readObjects();
  void select();
  void matchBlocks(NamePattern const& pattern, NamePattern::Match& best) const;
  std::string reasonFor(std::string const& name) const;

  std::vector<NamePattern> const wanted_;
  Scope const scope_;
  std::string const directory_;
  std::map<std::string, CounterObject, NaturalOrder> objects_;
  std::vector<CounterObject const*> shown_;
  std::vector<CounterObject const*> doubts_;
  std::vector<bool> isMatched_;  // by number in `wanted_`
  bool isChoiceStale_ = true;
};

}  // namespace VaroHost
