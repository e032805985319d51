#pragma once

/// \file
/// One object of counter blocks as a stranger reads it: the names of its blocks and the first eight bytes of each.
///
/// Guarantees
///   A  The object is never mapped: a maker that truncates, overwrites or unlinks it meanwhile shows as a fault, where
///      reading a mapping would end the process.
///   B  Nothing is written, made or kept open: memory of an object that is unlinked is not held back by its readers.
///   C  What is read is bounded by what is there: a name counts up to `nameMax` bytes, a faulty object lists nothing.
///
/// Use
///
///     VaroHost::CounterObject object("line-card.intf", identity);
///     object.read(descriptor);
///     if (object.fault().empty()) for (auto const& block : object.blocks()) show(block.name, block.value);

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <sys/types.h>

namespace VaroHost {

class CounterObject {
 public:
  static constexpr std::size_t nameMax = 65536;

  /// Tells objects apart that bore one name after the other.
  struct Identity {
    dev_t device = 0;
    ino_t number = 0;

    static Identity of(struct stat const& facts) noexcept { return {facts.st_dev, facts.st_ino}; }
    bool operator==(Identity const&) const = default;
  };

  struct Block {
    std::string name;
    std::uint64_t value = 0;
    /// By the last reading; a block that it met for the first time is changed.
    bool isChanged = false;
  };

  CounterObject(std::string name, Identity identity) : name_(std::move(name)), identity_(identity) {}

  /// The name of its manager whose object a file of shared memory is, nothing when no manager has such an object.
  static std::optional<std::string> managerOf(std::string_view fileName);
  /// Whether the file begins as an object of counters does, damaged or not.
  static bool isRecognised(int descriptor) noexcept;

  /// Reads everything again. Whether names came is in `hasNewNames`.
  void read(int descriptor);
  /// It is there, but cannot be read.
  void failedWith(std::string fault);
  /// Chooses the blocks that `rows` lists, by name.
  void select(std::function<bool(std::string_view name)> const& isWanted);

  std::string const& name() const noexcept { return name_; }
  Identity const& identity() const noexcept { return identity_; }
  /// Why it cannot be read, empty while all is well.
  std::string const& fault() const noexcept { return fault_; }
  /// In order of creation.
  std::vector<Block> const& blocks() const noexcept { return blocks_; }
  bool hasNewNames() const noexcept { return hasNewNames_; }
  /// The chosen blocks in natural order, as numbers in `blocks`. All of them before the first choice.
  std::vector<std::uint32_t> const& rows() const noexcept { return rows_; }

 private:
  std::string attempt(int descriptor);
  bool takeIn(std::size_t number, std::string_view name);
  bool sort();

  std::string const name_;
  Identity const identity_;
  std::string fault_;
  std::vector<Block> blocks_;
  std::vector<std::uint32_t> order_;
  std::vector<std::uint32_t> rows_;
  bool hasNewNames_ = false;
};

}  // namespace VaroHost
