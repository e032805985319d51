#include "host/CounterList.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/Text.h"
#include "host/Trouble.h"
#include "platform/Pelto/ShmemObject.h"

namespace VaroHost {

namespace {

/// A file opened for reading, and what it is.
class File {
 public:
  // Nonblocking: a pipe among the objects must not stop everything.
  File(int directory, std::string const& name)
    : descriptor_(::openat(directory, name.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY)),
      error_(descriptor_ < 0 || ::fstat(descriptor_, &facts_) != 0 ? errno : 0) {}
  ~File() {
    if (descriptor_ >= 0) {
      ::close(descriptor_);
    }
  }
  File(File const&) = delete;
  File& operator=(File const&) = delete;

  int descriptor() const noexcept { return descriptor_; }
  int error() const noexcept { return error_; }
  CounterObject::Identity identity() const noexcept { return CounterObject::Identity::of(facts_); }
  bool isRecognised() const noexcept {
    return error_ == 0 && S_ISREG(facts_.st_mode) && CounterObject::isRecognised(descriptor_);
  }

 private:
  struct stat facts_ {};
  int const descriptor_;
  int const error_;
};

}  // namespace

/// The directory of shared memory, open.
class CounterList::Directory {
 public:
  explicit Directory(std::string const& path) : stream_(::opendir(path.c_str())) {
    if (!stream_) {
      throw Trouble(printable(path), errno);
    }
  }

  int descriptor() const noexcept { return ::dirfd(stream_.get()); }
  std::optional<std::string> next() {
    dirent const* const entry = ::readdir(stream_.get());
    return entry == nullptr ? std::nullopt : std::optional<std::string>(entry->d_name);
  }

 private:
  struct Closer {
    void operator()(DIR* stream) const noexcept { ::closedir(stream); }
  };
  std::unique_ptr<DIR, Closer> const stream_;
};

CounterList::CounterList(std::vector<NamePattern> wanted, Scope scope, std::string directory)
  : wanted_(std::move(wanted)), scope_(scope), directory_(std::move(directory)), isMatched_(wanted_.size(), false) {}

void CounterList::refresh() {
  readObjects();
  if (std::exchange(isChoiceStale_, false)) {
    select();
  }
}

void CounterList::readObjects() {
  Directory directory(directory_);
  std::map<std::string, CounterObject, NaturalOrder> met;
  while (auto const fileName = directory.next()) {
    auto const name = CounterObject::managerOf(*fileName);
    if (!name) {
      continue;
    }
    File const file(directory.descriptor(), *fileName);
    auto known = objects_.extract(*name);
    bool const isKnown = !known.empty() && (file.error() != 0 || known.mapped().identity() == file.identity());
    if (file.error() == ENOENT || (!isKnown && !file.isRecognised())) {
      isChoiceStale_ = isChoiceStale_ || !known.empty();
      continue;
    }
    CounterObject& object = isKnown ? met.insert(std::move(known)).position->second
                                    : met.try_emplace(*name, *name, file.identity()).first->second;
    bool const wasFaulty = !object.fault().empty();
    if (file.error() == 0) {
      object.read(file.descriptor());
    } else {
      object.failedWith("cannot open: " + std::generic_category().message(file.error()));
    }
    isChoiceStale_ = isChoiceStale_ || !isKnown || object.hasNewNames() || wasFaulty != !object.fault().empty();
  }
  // What is left is gone.
  isChoiceStale_ = isChoiceStale_ || !objects_.empty();
  objects_ = std::move(met);
}

void CounterList::select() {
  using Match = NamePattern::Match;
  shown_.clear();
  doubts_.clear();
  // What each name means, now that all names are known: the exact ones, or else what begins with it.
  std::vector<Match> best(wanted_.size(), Match::none);
  bool asksForBlocks = false;
  for (std::size_t at = 0; at < wanted_.size(); ++at) {
    for (auto const& [name, object] : objects_) {
      best[at] = std::max(best[at], wanted_[at].match(name));
    }
    if (scope_ == Scope::all) {
      // A name that has shown something before is no question any more.
      asksForBlocks = asksForBlocks || (best[at] == Match::none && !isMatched_[at]);
      matchBlocks(wanted_[at], best[at]);
    }
    isMatched_[at] = isMatched_[at] || best[at] != Match::none;
  }
  auto const isWanted = [&](std::string_view name) {
    for (std::size_t at = 0; at < wanted_.size(); ++at) {
      if (best[at] != Match::none && wanted_[at].match(name) >= best[at]) {
        return true;
      }
    }
    return wanted_.empty();
  };
  for (auto& [name, object] : objects_) {
    bool const isWhole = isWanted(name);
    object.select([&](std::string_view block) { return isWhole || (scope_ == Scope::all && isWanted(block)); });
    if (isWhole || !object.rows().empty()) {
      shown_.push_back(&object);
    } else if (!object.fault().empty() && asksForBlocks) {
      doubts_.push_back(&object);
    }
  }
}

/// Raises `best` to the best match among all blocks.
void CounterList::matchBlocks(NamePattern const& pattern, NamePattern::Match& best) const {
  for (auto const& [name, object] : objects_) {
    for (auto const& block : object.blocks()) {
      if (best == NamePattern::Match::whole) {
        return;
      }
      best = std::max(best, pattern.match(block.name));
    }
  }
}

std::vector<std::string> CounterList::unmatched() const {
  std::vector<std::string> reasons;
  for (std::size_t at = 0; at < wanted_.size(); ++at) {
    if (!isMatched_[at]) {
      reasons.push_back(reasonFor(wanted_[at].text()));
    }
  }
  return reasons;
}

/// Why nothing is shown under that name.
std::string CounterList::reasonFor(std::string const& name) const {
  std::string reason = scope_ == Scope::all ? "no object and no block has that name" : "no object has that name";
  // The encoding can make a long name three times as long, and a name may be too long.
  constexpr std::size_t lengthMax = 254;
  if (!name.empty() && name.size() <= lengthMax / 3) {
    File const file(Directory(directory_).descriptor(), Pelto::ShmemObject::objectName(name).substr(1));
    if (file.error() != 0 && file.error() != ENOENT) {
      reason = "cannot open: " + std::generic_category().message(file.error());
    } else if (file.error() == 0 && !file.isRecognised()) {
      reason = "it is not a counter object";
    }
  }
  return fmt::format("{}: {}", excerpt(name), reason);
}

bool CounterList::isStillThere(CounterObject const& object) const {
  std::string const path = directory_ + Pelto::ShmemObject::objectName(object.name());
  struct stat facts {};
  return ::lstat(path.c_str(), &facts) == 0 && CounterObject::Identity::of(facts) == object.identity();
}

}  // namespace VaroHost
