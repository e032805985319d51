#pragma once

/// \file
/// The runtime's exceptions, and `Zon::Expect`, the guard around calls into watchers.
///
/// Guarantees
///   A  `what()` is the text handed in; `text()` keeps zero bytes too.
///   B  Copying an exception never throws.
///   C  The kinds are siblings under `Exception`, so that catching one never catches another; only
///      `ConversionException` is also a `RangeException`.
///   D  Type information is unique in the process: one library's handler catches what another throws.
///   E  `Expect` keeps no global state and costs nothing while nobody throws.
///
/// Use
///
///     Zon::throwRangeException("null ValidPtr");
///
///     Zon::Expect(0).run([&] { watcher.onConfig(); },
///                        [&](char const* text) { watcher.onNotificationException(258); });

#include <cstddef>
#include <cstdint>
#include <exception>
#include <utility>

#include "Zon/String8.h"

namespace Zon {

/// Base of whatever the runtime throws on purpose.
class Exception : public std::exception {
 public:
  /// A set of exception ids, 0 to 255.
  class IdBitArray {
   public:
    static constexpr unsigned capacity = 256;

    IdBitArray() noexcept : words_{} {}
    /// Adds `id`. REQUIRES: `id` < `capacity` (asserted).
    void idIs(unsigned id);
    bool id(unsigned id) const noexcept { return id < capacity && ((words_[id / 64] >> (id % 64)) & 1U) != 0; }
    bool empty() const noexcept { return (words_[0] | words_[1] | words_[2] | words_[3]) == 0; }
    friend bool operator==(IdBitArray const& a, IdBitArray const& b) noexcept = default;

   private:
    std::uint64_t words_[capacity / 64];
  };

  explicit Exception(String8 text, IdBitArray const& ids = IdBitArray(), bool flag = false) noexcept;
  Exception(Exception const&) noexcept = default;
  Exception& operator=(Exception const&) noexcept = default;
  ~Exception() override;

  String8 const& text() const noexcept { return text_; }
  char const* what() const noexcept override;
  IdBitArray const& ids() const noexcept { return ids_; }
  bool flag() const noexcept { return flag_; }

 private:
  String8 text_;
  IdBitArray ids_;
  bool flag_;
};

/// A value or reference that is not acceptable.
class RangeException : public Exception {
 public:
  using Exception::Exception;
  ~RangeException() override;
};

/// A name, or the place of a child, is taken by something different.
class NameInUseException : public Exception {
 public:
  using Exception::Exception;
  ~NameInUseException() override;
};

/// A modification through a const interface.
class ConstException : public Exception {
 public:
  using Exception::Exception;
  ~ConstException() override;
};

/// A value of the wrong type.
class TypeException : public Exception {
 public:
  using Exception::Exception;
  ~TypeException() override;
};

/// An argument too many.
class UnknownArgException : public Exception {
 public:
  using Exception::Exception;
  ~UnknownArgException() override;
};

/// A key given where none belongs, or of the wrong type.
class BadIndexAttrException : public Exception {
 public:
  using Exception::Exception;
  ~BadIndexAttrException() override;
};

/// An operation that the attribute does not offer. Text: `ATTRIBUTE: operation N not supported`.
class OpNotSupportedException : public Exception {
 public:
  OpNotSupportedException(String8 attribute, unsigned opId, bool flag);
  OpNotSupportedException(OpNotSupportedException const&) noexcept = default;
  OpNotSupportedException& operator=(OpNotSupportedException const&) noexcept = default;
  ~OpNotSupportedException() override;

  String8 const& attribute() const noexcept { return attribute_; }
  unsigned opId() const noexcept { return opId_; }

 private:
  String8 attribute_;
  unsigned opId_;
};

/// A text that does not denote a value of the wanted type.
class ConversionException : public RangeException {
 public:
  using RangeException::RangeException;
  ~ConversionException() override;
};

[[noreturn]] void throwRangeException(String8 text);
[[noreturn]] void throwNameInUseException(String8 text);

/// The guard around calls into watchers: whatever the call throws is turned into a call of the handler.
class Expect {
 public:
  /// `exceptionId` names the expectation for whoever looks at it; 0 is "any".
  explicit constexpr Expect(unsigned exceptionId) noexcept : exceptionId_(exceptionId) {}

  constexpr unsigned exceptionId() const noexcept { return exceptionId_; }

  /// Runs `call`. What it throws, a `std::exception` or not, ends here; `onException` is then called with its
  /// text
  /// ("unknown exception" if it has none), valid during that call. What `onException` throws leaves.
  template <class Call, class OnException>
  void run(Call&& call, OnException&& onException) const {
    try {
      std::forward<Call>(call)();
    } catch (...) {
      std::forward<OnException>(onException)(textOfCurrent());
    }
  }

  /// The text of the exception being handled. REQUIRES: called from a handler.
  static char const* textOfCurrent() noexcept;

 private:
  unsigned exceptionId_;
};

}  // namespace Zon
