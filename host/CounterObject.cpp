#include "host/CounterObject.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <memory>
#include <numeric>
#include <utility>

#include <unistd.h>

#include "host/NaturalOrder.h"
#include "platform/Pelto/ShmemObject.h"
#include "platform/Pelto/ShmemRecord.h"

namespace VaroHost {

namespace {

using Header = Pelto::ShmemObject::Header;
using Pelto::ShmemRecord;

/// A window that slides over the object: few system calls, whatever the number of blocks.
class Window {
 public:
  explicit Window(int descriptor) : descriptor_(descriptor), buffer_(std::make_unique<char[]>(size)) {}

  /// The bytes from `at` on, `length` at most 64 KiB; null when they are not there.
  char const* bytes(std::uint64_t at, std::size_t length) {
    if (at < start_ || at + length > start_ + filled_) {
      start_ = at;
      filled_ = 0;
      ssize_t got = 0;
      do {
        got = ::pread(descriptor_, buffer_.get() + filled_, size - filled_, static_cast<off_t>(start_ + filled_));
        filled_ += got > 0 ? static_cast<std::size_t>(got) : 0;
      } while ((got > 0 && filled_ < size) || (got < 0 && errno == EINTR));
    }
    return at + length <= start_ + filled_ ? buffer_.get() + (at - start_) : nullptr;
  }
  /// The object of that type at `at`; false when it is not there.
  template <class T>
  bool get(std::uint64_t at, T& value) {
    char const* const from = bytes(at, sizeof value);
    if (from != nullptr) {
      std::memcpy(&value, from, sizeof value);
    }
    return from != nullptr;
  }

 private:
  static constexpr std::size_t size = std::size_t{1} << 18U;
  static_assert(size >= CounterObject::nameMax);

  int const descriptor_;
  std::unique_ptr<char[]> const buffer_;
  std::uint64_t start_ = 0;
  std::size_t filled_ = 0;
};

bool isPlain(char byte) noexcept {
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || byte == '.' ||
         byte == '_' || byte == '-';
}

/// Reads one value; what was written before it is met by what is read after it.
template <class T>
bool get(int descriptor, std::size_t at, T& value) noexcept {
  bool const isThere = ::pread(descriptor, &value, sizeof value, static_cast<off_t>(at)) == ssize_t{sizeof value};
  std::atomic_thread_fence(std::memory_order_acquire);
  return isThere;
}

int hexValue(char digit) noexcept {
  return digit >= '0' && digit <= '9' ? digit - '0' : digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

}  // namespace

std::optional<std::string> CounterObject::managerOf(std::string_view fileName) {
  std::string name;
  for (std::size_t at = 0; at < fileName.size(); ++at) {
    if (isPlain(fileName[at])) {
      name += fileName[at];
      continue;
    }
    if (fileName[at] != '%') {
      return std::nullopt;
    }
    int const high = at + 2 < fileName.size() ? hexValue(fileName[at + 1]) : -1;
    int const low = high >= 0 ? hexValue(fileName[at + 2]) : -1;
    if (low < 0) {
      return std::nullopt;
    }
    name += static_cast<char>(high * 16 + low);
    at += 2;
  }
  // There is one spelling for each name, and it is not longer than a manager's may be.
  bool const isSpelledSo =
      !name.empty() && fileName.size() < 255 && Pelto::ShmemObject::objectName(name).substr(1) == fileName;
  return isSpelledSo ? std::optional(name) : std::nullopt;
}

bool CounterObject::isRecognised(int descriptor) noexcept {
  char seen[sizeof(Header::magic)];
  return ::pread(descriptor, seen, sizeof seen, 0) == ssize_t{sizeof seen} &&
         std::memcmp(seen, Pelto::ShmemObject::magic, sizeof seen) == 0;
}

void CounterObject::read(int descriptor) {
  // A number may be met while half of it is written.
  constexpr int attempts = 3;
  std::size_t const before = blocks_.size();
  for (Block& block : blocks_) {
    block.isChanged = false;
  }
  fault_ = "not read";
  for (int count = 0; count < attempts && !fault_.empty(); ++count) {
    fault_ = attempt(descriptor);
  }
  hasNewNames_ = blocks_.size() != before;
  if (fault_.empty() && hasNewNames_ && !sort()) {
    fault_ = "two of its blocks have one name";
  }
  if (!fault_.empty()) {
    failedWith(fault_);
  }
}

void CounterObject::failedWith(std::string fault) {
  fault_ = std::move(fault);
  hasNewNames_ = false;
  blocks_.clear();
  order_.clear();
  rows_.clear();
}

void CounterObject::select(std::function<bool(std::string_view name)> const& isWanted) {
  rows_.clear();
  std::copy_if(order_.begin(), order_.end(), std::back_inserter(rows_),
               [&](std::uint32_t number) { return isWanted(blocks_[number].name); });
}

/// False when a name is there twice.
bool CounterObject::sort() {
  order_.resize(blocks_.size());
  std::iota(order_.begin(), order_.end(), 0U);
  std::sort(order_.begin(), order_.end(),
            NaturalOrder::by([this](std::uint32_t number) -> std::string_view { return blocks_[number].name; }));
  rows_ = order_;
  return std::adjacent_find(order_.begin(), order_.end(), [&](std::uint32_t a, std::uint32_t b) {
           return blocks_[a].name == blocks_[b].name && blocks_[a].name.size() < nameMax;
         }) == order_.end();
}

/// The block of that number; false when it has had another name.
bool CounterObject::takeIn(std::size_t number, std::string_view name) {
  if (number < blocks_.size()) {
    return blocks_[number].name == name;
  }
  blocks_.push_back({std::string(name), 0, true});
  return true;
}

std::string CounterObject::attempt(int descriptor) {
  // The maker stores the count last, before it what is used, before that what is reserved: they are read the other way.
  std::uint32_t count = 0;
  std::uint64_t used = 0;
  Header header;
  struct stat facts {};
  if (!get(descriptor, offsetof(Header, blockCount), count) || !get(descriptor, offsetof(Header, used), used) ||
      !get(descriptor, 0, header)) {
    return "it has no header";
  }
  if (std::string fault = Pelto::ShmemObject::shapeFault(header); !fault.empty()) {
    return fault;
  }
  if (::fstat(descriptor, &facts) != 0 ||
      !Pelto::ShmemObject::isUseSound(used, header.reserved, static_cast<std::uint64_t>(facts.st_size),
                                      header.capacity)) {
    return Pelto::ShmemObject::damagedHeader;
  }
  if (count < blocks_.size()) {
    return "it has fewer blocks than it had";
  }
  std::string const damaged = "its records are damaged";
  Window window(descriptor);
  std::uint64_t at = sizeof header;
  for (std::size_t number = 0; number < count; ++number) {
    ShmemRecord record{};
    std::uint64_t value = 0;
    if (used - at < sizeof record || !window.get(at, record) || record.size != ShmemRecord::sizeOf(record.nameLength) ||
        record.size > used - at) {
      return damaged;
    }
    std::size_t const length = std::min<std::size_t>(record.nameLength, nameMax);
    char const* const name = window.bytes(at + sizeof record, length);
    if (name == nullptr || !takeIn(number, {name, length}) ||
        !window.get(at + ShmemRecord::blockOffset(record.nameLength), value)) {
      return damaged;
    }
    Block& block = blocks_[number];
    block.isChanged = block.isChanged || block.value != value;
    block.value = value;
    at += record.size;
  }
  return "";
}

}  // namespace VaroHost
