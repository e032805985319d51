#include "platform/Pelto/ShmemObject.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <system_error>

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Zon/Exception.h"

namespace Pelto {

namespace {

constexpr mode_t namedMode = 0660;
constexpr std::size_t objectNameMax = 255;
constexpr std::uint64_t page = 4096;
constexpr std::uint64_t stepMin = 16 * page;
constexpr std::uint64_t stepMax = 256 * page;

template <class Call>
auto retried(Call&& call) {
  auto result = call();
  while (result < 0 && errno == EINTR)
    result = call();
  return result;
}

bool isPlain(unsigned char c) noexcept {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
}

std::string encoded(std::string_view name) {
  constexpr char digits[] = "0123456789ABCDEF";
  std::string out;
  for (char raw : name) {
    auto const c = static_cast<unsigned char>(raw);
    if (isPlain(c)) {
      out += raw;
    } else {
      out += {'%', digits[c >> 4], digits[c & 15]};
    }
  }
  return out;
}

}  // namespace

constinit std::atomic<std::uint32_t> ShmemObject::forks_ = 0;

std::string ShmemObject::objectName(Zon::Name const& name) {
  std::string path = "/" + encoded(name.view());
  if (path.size() > objectNameMax) {
    Zon::throwRangeException("shared memory \"" + encoded(name.view()) + "\": name too long");
  }
  return path;
}

bool ShmemObject::unlink(Zon::Name const& name) {
  if (name.empty()) return false;
  if (::shm_unlink(objectName(name).c_str()) == 0) return true;
  if (errno == ENOENT) return false;
  int const error = errno;
  Zon::throwRangeException("shared memory \"" + encoded(name.view()) +
                           "\": cannot unlink: " + std::generic_category().message(error));
}

ShmemObject::ShmemObject(Zon::Name const& name, Open how, std::uint64_t capacity)
  : description_(name.empty() ? std::string("private shared memory")
                              : "shared memory \"" + encoded(name.view()) + "\""),
    private_(name.empty()) {
  struct Undo {
    ShmemObject* object;
    ~Undo() {
      if (object == nullptr) return;
      if (object->base_ != nullptr) ::munmap(object->base_, object->capacity_);
      if (object->fd_ >= 0) ::close(object->fd_);
    }
  } undo{this};

  if (!private_) {
    openNamed(objectName(name), how, capacity);
  } else if (how == Open::existingOrNew) {
    openPrivate(capacity);
  } else {
    fail("it has no name to attach to");
  }
  readShape();
  void* const mapped = ::mmap(nullptr, capacity_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_NORESERVE, fd_, 0);
  if (mapped == MAP_FAILED) fail("cannot map " + std::to_string(capacity_) + " bytes", errno);
  base_ = static_cast<std::byte*>(mapped);
  checkUse();
  undo.object = nullptr;
}

ShmemObject::~ShmemObject() {
  ::munmap(base_, capacity_);
  ::close(fd_);
}

void ShmemObject::openNamed(std::string const& path, Open how, std::uint64_t capacity) {
  fd_ = retried([&] { return ::shm_open(path.c_str(), O_RDWR, 0); });
  if (fd_ < 0 && errno == ENOENT && how == Open::existingOrNew) {
    checkCapacity(capacity);
    fd_ = retried([&] { return ::shm_open(path.c_str(), O_RDWR | O_CREAT, namedMode); });
  }
  if (fd_ < 0) fail("cannot open", errno);
  if (how == Open::existingOrNew) {
    // Whoever finds the object empty fills in the header; the others wait here.
    Lock const guard(*this);
    if (size() == 0) initialise(capacity);
  }
}

void ShmemObject::openPrivate(std::uint64_t capacity) {
  static constinit std::atomic<std::uint64_t> serial = 0;
  checkCapacity(capacity);
  static int const notCounting =
      pthread_atfork([] { forks_.fetch_add(1, std::memory_order_relaxed); }, nullptr, nullptr);
  if (notCounting != 0) fail("cannot watch for forks", notCounting);
  forksAtBirth_ = forks_.load(std::memory_order_relaxed);
  do {
    // No encoded name contains a tilde.
    std::string const path = "/~varo." + std::to_string(::getpid()) + "." + std::to_string(serial.fetch_add(1));
    fd_ = retried([&] { return ::shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR); });
    if (fd_ >= 0) ::shm_unlink(path.c_str());
  } while (fd_ < 0 && errno == EEXIST);
  if (fd_ < 0) fail("cannot make", errno);
  initialise(capacity);
}

void ShmemObject::checkCapacity(std::uint64_t capacity) const {
  if (capacity < sizeof(Header)) fail("a capacity of " + std::to_string(capacity) + " bytes is too small");
  if (capacity > std::uint64_t{PTRDIFF_MAX}) {
    fail("a capacity of " + std::to_string(capacity) + " bytes is too large");
  }
}

void ShmemObject::initialise(std::uint64_t capacity) {
  checkCapacity(capacity);
  Header fresh{};
  std::memcpy(fresh.magic, magic, sizeof fresh.magic);
  fresh.version = version;
  fresh.headerSize = sizeof(Header);
  fresh.capacity = capacity;
  fresh.reserved = sizeof(Header);
  fresh.used = sizeof(Header);
  fresh.blockSize = blockSize;
  // The umask has no say in who shares counters.
  if (!private_ && ::fchmod(fd_, namedMode) != 0) fail("cannot set its mode", errno);
  // One write: the object is empty before it and complete after it.
  if (retried([&] { return ::pwrite(fd_, &fresh, sizeof fresh, 0); }) != sizeof fresh) {
    fail("cannot write its header", errno);
  }
}

// What never changes once the object has a header.
void ShmemObject::readShape() {
  Header seen;
  if (retried([&] { return ::pread(fd_, &seen, sizeof seen, 0); }) != sizeof seen) fail("it has no header");
  if (std::string const fault = shapeFault(seen); !fault.empty()) fail(fault);
  capacity_ = seen.capacity;
}

// What other processes may be changing right now. All three only grow, and whoever makes them grow begins with the one
// that is read last: a sound object passes, however far apart the reads are.
void ShmemObject::checkUse() {
  std::uint64_t const inUse = used();
  std::uint64_t const reserved = std::atomic_ref(header()->reserved).load(std::memory_order_acquire);
  std::uint64_t const actual = size();
  if (!isUseSound(inUse, reserved, actual, capacity_)) fail(damagedHeader);
}

std::string ShmemObject::shapeFault(Header const& seen) {
  if (std::memcmp(seen.magic, magic, sizeof seen.magic) != 0) return "it is not a counter object";
  if (seen.version != version) return "its version is " + std::to_string(seen.version);
  if (seen.headerSize != sizeof(Header) || seen.blockSize != blockSize) return "its sizes are not ours";
  bool const isPossible = seen.capacity >= sizeof(Header) && seen.capacity <= std::uint64_t{PTRDIFF_MAX};
  return isPossible ? "" : damagedHeader;
}

bool ShmemObject::isUseSound(std::uint64_t used, std::uint64_t reserved, std::uint64_t actual,
                             std::uint64_t capacity) noexcept {
  return used >= sizeof(Header) && used % blockSize == 0 && used <= reserved && used <= actual &&
         reserved <= capacity && actual <= capacity;
}

std::uint64_t ShmemObject::size() const {
  struct stat status {};
  if (::fstat(fd_, &status) != 0) fail("cannot read its size", errno);
  return static_cast<std::uint64_t>(status.st_size);
}

std::uint64_t ShmemObject::extent() const noexcept {
  struct stat status {};
  return ::fstat(fd_, &status) == 0 ? std::min(static_cast<std::uint64_t>(status.st_size), capacity_) : 0;
}

bool ShmemObject::covers(std::uint64_t wanted) const noexcept { return wanted <= extent(); }

bool ShmemObject::confirm(std::uint64_t wanted) noexcept {
  std::uint64_t const left = extent();
  allocated_ = std::min(allocated_, left);
  return wanted <= left;
}

int ShmemObject::allocate(std::uint64_t wanted) noexcept {
  // Nobody's word is taken for what is allocated already: repeating it costs little.
  auto const upTo = [&](std::uint64_t target) {
    target = std::min((target + page - 1) / page * page, capacity_);
    int error;
    do {
      error = ::posix_fallocate(fd_, static_cast<off_t>(allocated_), static_cast<off_t>(target - allocated_));
    } while (error == EINTR);
    if (error != 0) return error;
    allocated_ = target;
    std::atomic_ref reserved(header()->reserved);
    if (reserved.load(std::memory_order_relaxed) < target) reserved.store(target, std::memory_order_release);
    return 0;
  };
  std::uint64_t const step = std::clamp(wanted / 2, stepMin, stepMax);
  // When the step is too much, the bare need may still fit.
  return upTo(wanted + step) == 0 ? 0 : upTo(wanted);
}

void ShmemObject::fail(std::string const& what, int error) const {
  std::string text = description_ + ": " + what;
  if (error != 0) text += ": " + std::generic_category().message(error);
  Zon::throwRangeException(text);
}

namespace {

// Record locks, not flock: a forked child shares the open file, but is another process.
int setLock(int fd, short type) noexcept {
  struct flock whole {};
  whole.l_type = type;
  whole.l_whence = SEEK_SET;
  return retried([&] { return ::fcntl(fd, F_SETLKW, &whole); });
}

}  // namespace

void ShmemObject::lock() const {
  if (setLock(fd_, F_WRLCK) != 0) fail("cannot lock", errno);
}

void ShmemObject::unlock() const noexcept { setLock(fd_, F_UNLCK); }

}  // namespace Pelto
