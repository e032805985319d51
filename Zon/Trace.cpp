#include "Zon/Trace.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <mutex>
#include <new>
#include <ostream>
#include <sstream>
#include <string>

namespace Zon {

namespace {

using Sink = std::function<void(TraceRecord const&)>;

// Constant-initialised and without destructors that run: static initialisers and destructors of any library
// may trace.
constinit std::mutex registryLock;
constinit std::shared_ptr<Sink const>* installedSink = nullptr;
constinit std::atomic<std::ostream*> installedCoverage = nullptr;
// Lines being delivered in this thread, one inside the other.
constinit thread_local int depth = 0;
constexpr int depthMax = 8;

// What is below must not show in a program that only reads errno.
class Delivery {
 public:
  Delivery() noexcept : errno_(errno) { ++depth; }
  Delivery(Delivery const&) = delete;
  Delivery& operator=(Delivery const&) = delete;
  ~Delivery() {
    --depth;
    errno = errno_;
  }

 private:
  int errno_;
};

// One line stays one line, whatever bytes the keys hold.
void appendEscaped(std::string& out, std::string_view text) {
  constexpr char digits[] = "0123456789abcdef";
  for (char c : text) {
    auto const byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f || byte == '\\') {
      out += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
    } else {
      out += c;
    }
  }
}

std::string formatted(TraceRecord const& record) {
  std::string out;
  appendEscaped(out, record.facility.view());
  out += '/' + std::to_string(record.level) + ' ';
  appendEscaped(out, record.file.view());
  out += ':' + std::to_string(record.line) + ' ';
  appendEscaped(out, record.function.view());
  out += ": ";
  appendEscaped(out, record.text.view());
  out += '\n';
  return out;
}

void deliver(TraceRecord const& record) {
  std::shared_ptr<Sink const> sink;  // keeps a sink that replaces itself alive
  {
    std::lock_guard const guard(registryLock);
    if (installedSink != nullptr) sink = *installedSink;
  }
  if (sink) {
    (*sink)(record);
  } else {
    std::string const line = formatted(record);
    std::fwrite(line.data(), 1, line.size(), stderr);
  }
}

}  // namespace

void assertFailed(char const* text, char const* file, int line, char const* function) {
  std::fprintf(stderr, "assertion \"%s\" failed: %s:%d: %s\n", text, file, line, function);
  std::abort();
}

/// The list of all facilities, newest first. Its callers hold `registryLock`.
class TraceRegistry {
 public:
  using Facility = TraceHandle::Facility;

  static Facility* find(String8 const& name) noexcept {
    for (Facility* facility = first; facility != nullptr; facility = facility->next) {
      if (facility->name == name) return facility;
    }
    return nullptr;
  }

  static Facility* make(String8 const& name, bool enabled) {
    first = new Facility(name, first);
    first->enabled.store(enabled, std::memory_order_relaxed);
    refresh(*first);
    return first;
  }

  /// The facility of handles that could not get theirs: not in the list, off for good. In place, never destroyed.
  static Facility* nowhere() noexcept {
    alignas(Facility) static std::byte place[sizeof(Facility)];
    static auto* const made = new (place) Facility(String8(), nullptr);
    return made;
  }

  static void refresh(Facility& facility) noexcept {
    std::uint32_t wanted =
        facility.enabled.load(std::memory_order_relaxed) ? facility.levelsOn.load(std::memory_order_relaxed) : 0;
    if (installedCoverage.load(std::memory_order_relaxed) != nullptr) wanted = ~std::uint32_t{0};
    facility.wanted.store(wanted, std::memory_order_relaxed);
  }

  static void refreshAll() noexcept {
    for (Facility* facility = first; facility != nullptr; facility = facility->next)
      refresh(*facility);
  }

 private:
  static constinit Facility* first;
};

constinit TraceRegistry::Facility* TraceRegistry::first = nullptr;

TraceHandle::TraceHandle(String8 name, bool enabled) {
  std::lock_guard const guard(registryLock);
  facility_ = TraceRegistry::find(name);
  if (facility_ == nullptr) facility_ = TraceRegistry::make(name, enabled);
}

bool TraceHandle::exists(String8 name) {
  std::lock_guard const guard(registryLock);
  return TraceRegistry::find(name) != nullptr;
}

String8 TraceHandle::name() const { return facility_->name; }

bool TraceHandle::enabled() const noexcept { return facility_->enabled.load(std::memory_order_relaxed); }

void TraceHandle::enabledIs(bool enabled) const {
  if (facility_ == TraceRegistry::nowhere()) return;
  std::lock_guard const guard(registryLock);
  facility_->enabled.store(enabled, std::memory_order_relaxed);
  TraceRegistry::refresh(*facility_);
}

bool TraceHandle::level(unsigned level) const {
  require(level < levels, "level < 32", "Zon/Trace", __LINE__, "TraceHandle::level");
  return (facility_->levelsOn.load(std::memory_order_relaxed) >> level & 1U) != 0;
}

void TraceHandle::levelIs(unsigned level, bool on) const {
  require(level < levels, "level < 32", "Zon/Trace", __LINE__, "TraceHandle::levelIs");
  if (facility_ == TraceRegistry::nowhere()) return;
  std::lock_guard const guard(registryLock);
  std::uint32_t const bit = std::uint32_t{1} << level;
  std::uint32_t const now = facility_->levelsOn.load(std::memory_order_relaxed);
  facility_->levelsOn.store(on ? now | bit : now & ~bit, std::memory_order_relaxed);
  TraceRegistry::refresh(*facility_);
}

void TraceEmitter::emit(TraceHandle const& handle, unsigned level, char const* file, int line, char const* function,
                        void (*write)(void*, std::ostream&), void* context) noexcept {
  if (depth == depthMax) return;
  Delivery const scope;
  try {
    TraceRecord record;
    record.facility = handle.name();
    record.file = file;
    record.function = function;
    record.level = level;
    record.line = line;

    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(12);
    write(context, out);
    record.text = out.view();

    // Decided after the text was built: writing it may have switched something.
    record.levelOn = handle.enabled() && handle.level(level);
    try {
      if (std::ostream* const coverage = coverageStream()) {
        std::string const whole = formatted(record);
        coverage->write(whole.data(), static_cast<std::streamsize>(whole.size()));
      }
    } catch (...) {
      // A broken stream keeps nothing from the sink.
    }
    if (record.levelOn) deliver(record);
  } catch (...) {
    // Guarantee D.
  }
}

void traceSinkIs(std::function<void(TraceRecord const&)> sink) {
  std::shared_ptr<Sink const> next;
  if (sink) next = std::make_shared<Sink const>(std::move(sink));
  std::lock_guard const guard(registryLock);
  if (installedSink == nullptr) installedSink = new std::shared_ptr<Sink const>;
  installedSink->swap(next);
  // `next`, declared first, drops the old sink after the lock is released: its destructor may trace.
}

void coverageStreamIs(std::ostream* stream) {
  std::lock_guard const guard(registryLock);
  installedCoverage.store(stream, std::memory_order_relaxed);
  TraceRegistry::refreshAll();
}

std::ostream* coverageStream() { return installedCoverage.load(std::memory_order_relaxed); }

TraceHandle::Facility* LazyTraceHandle::find() const noexcept {
  try {
    TraceHandle::Facility* const found = TraceHandle(name_, false).facility_;
    facility_.store(found, std::memory_order_release);
    return found;
  } catch (...) {
    // Guarantee D: this line is lost, what it tells of is not. The next one tries again.
    return TraceRegistry::nowhere();
  }
}

}  // namespace Zon
