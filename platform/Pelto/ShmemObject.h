#pragma once

/// \file
/// `Pelto::ShmemObject`: one POSIX shared-memory object with the header of a counter object, mapped for good.
///
/// Guarantees
///   A  The whole capacity is mapped once, at construction: growing the object moves nothing.
///   B  What an object says about itself is checked when it is opened; one with another magic, version, size or
///      impossible numbers is refused by a range exception and left alone.
///   C  An object is either empty or has a complete header, whenever a maker is killed.
///   D  Space is allocated before it is written: no later write fails for want of memory.
///   E  What another program cuts off a shared object is noticed by `covers` and `stillHas`; touching it kills.
///
/// Layout, native byte order: a header of 64 bytes (`Header`), then what the owner puts there.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Zon/String8.h"

namespace Pelto {

class ShmemObject {
 public:
  static constexpr std::uint32_t version = 1;
  static constexpr std::uint32_t blockSize = 64;
  static constexpr char magic[9] = "VAROSHM1";

  struct Header {
    char magic[8];
    std::uint32_t version;
    std::uint32_t headerSize;
    std::uint64_t capacity;
    std::uint64_t reserved;
    std::uint64_t used;
    std::uint32_t blockSize;
    std::uint32_t blockCount;
    std::byte zeros[16];
  };
  static_assert(sizeof(Header) == 64);

  enum class Open { existing, existingOrNew };

  /// Opens the object of that name; makes it when it is absent and `how` allows. The empty name makes an
  /// object of this process and the children it forks, which has no name any more when the constructor
  /// returns. `capacity`, in bytes, is for a new object. Throws a range exception.
  ShmemObject(Zon::Name const& name, Open how, std::uint64_t capacity);
  ShmemObject(ShmemObject const&) = delete;
  ShmemObject& operator=(ShmemObject const&) = delete;
  ~ShmemObject();

  /// "/" and the name, bytes outside `A-Za-z0-9._-` as `%HH`. Above 255 characters: range exception.
  static std::string objectName(Zon::Name const& name);
  /// Removes the name; false when absent. Throws a range exception when it is not allowed.
  static bool unlink(Zon::Name const& name);
  static constexpr char damagedHeader[] = "its header is damaged";
  /// What is wrong with the part of a header that never changes, empty when it is ours.
  static std::string shapeFault(Header const& seen);
  /// Whether the changing part fits an object of `actual` bytes. REQUIRES: read in this order, one after the other.
  static bool isUseSound(std::uint64_t used, std::uint64_t reserved, std::uint64_t actual,
                         std::uint64_t capacity) noexcept;

  std::byte* base() const noexcept { return base_; }
  std::uint64_t capacity() const noexcept { return capacity_; }

  /// Number of complete blocks; what their makers wrote is visible after this call.
  std::uint32_t blockCount() const noexcept {
    return std::atomic_ref(header()->blockCount).load(std::memory_order_acquire);
  }
  /// Bytes in use, header included. Not to be trusted beyond `covers`.
  std::uint64_t used() const noexcept { return std::atomic_ref(header()->used).load(std::memory_order_acquire); }
  /// Whether the first `wanted` bytes are inside the capacity and exist: then they can be read.
  bool covers(std::uint64_t wanted) const noexcept;
  /// The same for whoever is about to write: what was cut off a shared object counts as allocated no longer.
  /// REQUIRES: the lock is held.
  bool stillHas(std::uint64_t wanted) noexcept { return !isShared() || confirm(wanted); }
  /// Allocates the first `size` bytes, in larger steps. 0, or an error number; then nothing has changed.
  /// REQUIRES: `size` <= capacity; the lock is held.
  int reserve(std::uint64_t size) noexcept { return size <= allocated_ ? 0 : allocate(size); }
  /// Makes everything written before visible to other processes. REQUIRES: the lock is held.
  void publish(std::uint64_t used, std::uint32_t blockCount) noexcept {
    // Not before what was reserved for it: who reads the one and then the other finds the latter large enough.
    std::atomic_ref(header()->used).store(used, std::memory_order_release);
    std::atomic_ref(header()->blockCount).store(blockCount, std::memory_order_release);
  }

  /// How messages name the object.
  std::string const& description() const noexcept { return description_; }
  [[noreturn]] void fail(std::string const& what, int error = 0) const;

  /// The advisory lock that makers of blocks hold. It goes when its process goes, however that happens.
  class Lock {
   public:
    explicit Lock(ShmemObject const& object) : object_(object), taken_(object.isShared()) {
      if (taken_) object.lock();
    }
    Lock(Lock const&) = delete;
    Lock& operator=(Lock const&) = delete;
    ~Lock() {
      if (taken_) object_.unlock();
    }

   private:
    ShmemObject const& object_;
    bool const taken_;
  };

 private:
  void openNamed(std::string const& path, Open how, std::uint64_t capacity);
  void openPrivate(std::uint64_t capacity);
  void initialise(std::uint64_t capacity);
  void checkCapacity(std::uint64_t capacity) const;
  void readShape();
  void checkUse();
  std::uint64_t size() const;
  /// The same bounded by the capacity, 0 when it cannot be read.
  std::uint64_t extent() const noexcept;
  int allocate(std::uint64_t wanted) noexcept;
  bool confirm(std::uint64_t wanted) noexcept;
  Header* header() const noexcept { return reinterpret_cast<Header*>(base_); }
  void lock() const;
  void unlock() const noexcept;
  /// Only a fork shares a private object: until then its lock can be spared.
  bool isShared() const noexcept { return !private_ || forks_.load(std::memory_order_relaxed) != forksAtBirth_; }

  static constinit std::atomic<std::uint32_t> forks_;

  std::string description_;
  bool const private_;
  std::uint32_t forksAtBirth_ = 0;
  int fd_ = -1;
  std::byte* base_ = nullptr;
  std::uint64_t capacity_ = 0;
  std::uint64_t allocated_ = 0;  // bytes this process has made sure of
};

}  // namespace Pelto
