#pragma once

/// \file
/// Trace facilities, the process's sink and coverage stream, and assertions that act in every build.
///
/// Guarantees
///   A  A facility belongs to its name: handles of one name share it, it is never destroyed, and it starts off.
///   B  With everything off, asking for a line costs one load and one test; the text is not built.
///   C  With a coverage stream every line is built and written there; the sink gets a line only when facility and level
///      are on.
///   D  Tracing changes no behaviour: what building a line or the sink throws ends here, a lack of memory too.
///   E  A sink may replace itself and may trace; nested lines reach it up to a fixed depth, deeper ones are dropped.
///   F  Everything works from static initialisers of any library in any order, and until the process ends.
///
/// Use
///
///     Zon::TraceHandle const handle("VaroIntf", false);
///     Zon::trace(handle, 8, "VaroIntf", 89, "handleQueueCounterDir", [&](std::ostream& out) { out << text << id; });
///
///     Zon::TraceHandle("VaroIntf", true).levelIs(8, true);   // switches the line on

#include <atomic>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <type_traits>
#include <utility>

#include "Zon/String8.h"

namespace Zon {

/// Writes `assertion "TEXT" failed: FILE:LINE: FUNCTION` to standard error and aborts.
[[noreturn]] void assertFailed(char const* text, char const* file, int line, char const* function);

/// Aborts through `assertFailed` unless the condition holds.
inline void require(bool condition, char const* text, char const* file, int line, char const* function) {
  if (!condition) [[unlikely]] {
    assertFailed(text, file, line, function);
  }
}

/// One trace line as a sink sees it.
struct TraceRecord {
  String8 facility;
  String8 name = "<unknown>";
  String8 text;
  String8 file;
  String8 function;
  unsigned level = 0;
  bool levelOn = false;  ///< Facility and level are on; false only for lines built for the coverage stream.
  int line = 0;
};

/// A way to one facility. A single pointer: copy it freely.
class TraceHandle {
 public:
  static constexpr unsigned levels = 32;

  /// Finds the facility of that name or makes it. `enabled` counts only when it is made.
  TraceHandle(String8 name, bool enabled);

  /// Whether a facility of that name was made already; makes none.
  static bool exists(String8 name);

  String8 name() const;
  bool enabled() const noexcept;
  void enabledIs(bool enabled) const;
  /// Whether that level is switched on, whatever the facility's own switch. REQUIRES: `level` < 32
  /// (asserted).
  bool level(unsigned level) const;
  /// Switches one level; no level implies another. REQUIRES: `level` < 32 (asserted).
  void levelIs(unsigned level, bool on) const;

  /// Whether a line at that level must be built. REQUIRES: `level` < 32.
  bool wanted(unsigned level) const noexcept {
    return (facility_->wanted.load(std::memory_order_relaxed) >> level & 1U) != 0;
  }

 private:
  friend class TraceRegistry;
  friend class TraceEmitter;
  friend class LazyTraceHandle;

  struct Facility;
  explicit TraceHandle(Facility* facility) noexcept : facility_(facility) {}

  struct Facility {
    Facility(String8 facilityName, Facility* nextFacility) : name(std::move(facilityName)), next(nextFacility) {}

    // Levels whose lines are built: those switched on, or all while a coverage stream is installed.
    std::atomic<std::uint32_t> wanted{0};
    std::atomic<std::uint32_t> levelsOn{0};
    std::atomic<bool> enabled{false};
    String8 const name;
    Facility* const next;
  };

  Facility* facility_;
};

/// The handle a module traces with: constant-initialised, and the facility is found or made, switched off, on first use;
/// while there is no memory for it, lines are lost.
class LazyTraceHandle {
 public:
  /// `name` must live as long as the handle: a literal.
  constexpr explicit LazyTraceHandle(char const* name) noexcept : name_(name) {}
  LazyTraceHandle(LazyTraceHandle const&) = delete;
  LazyTraceHandle& operator=(LazyTraceHandle const&) = delete;

  operator TraceHandle() const noexcept { return TraceHandle(facility()); }

  /// As `TraceHandle::wanted`.
  bool wanted(unsigned level) const noexcept { return TraceHandle(facility()).wanted(level); }

 private:
  TraceHandle::Facility* facility() const noexcept {
    TraceHandle::Facility* const known = facility_.load(std::memory_order_acquire);
    return known != nullptr ? known : find();
  }
  TraceHandle::Facility* find() const noexcept;

  char const* const name_;
  mutable std::atomic<TraceHandle::Facility*> facility_{nullptr};
};

/// The cold half of `trace`.
class TraceEmitter {
 public:
  static void emit(TraceHandle const& handle, unsigned level, char const* file, int line, char const* function,
                   void (*write)(void* context, std::ostream& out), void* context) noexcept;
};

/// Emits one line of a facility, given by either kind of handle. `write` gets a `std::ostream` of precision 12 and is
/// called only if the line is wanted.
/// REQUIRES: `level` < 32 (asserted).
template <class Handle, class Write>
inline void trace(Handle const& handle, unsigned level, char const* file, int line, char const* function,
                  Write&& write) {
  require(level < TraceHandle::levels, "level < 32", "Zon/Trace", __LINE__, "trace");
  if (handle.wanted(level)) [[unlikely]] {
    using Function = std::remove_reference_t<Write>;
    TraceEmitter::emit(
        handle, level, file, line, function,
        [](void* context, std::ostream& out) { (*static_cast<Function*>(context))(out); },
        const_cast<void*>(static_cast<void const*>(std::addressof(write))));
  }
}

/// Installs the process's sink; an empty function restores the default: one line on standard error,
/// `FACILITY/LEVEL FILE:LINE FUNCTION: TEXT`, with control characters and backslashes as `\xHH`.
void traceSinkIs(std::function<void(TraceRecord const&)> sink);

/// Installs the stream that gets every line, switched on or not, in the form of the default sink. Null, as at
/// the start, for none. The stream must live until it is replaced.
void coverageStreamIs(std::ostream* stream);
std::ostream* coverageStream();

}  // namespace Zon
