#pragma once

/// \file
/// `Zon::String8`: the immutable, shared byte string that names entities and keys collections.
///
/// Guarantees
///   A  A value is one pointer. Copies share the bytes; the empty string has no data and never allocates.
///   B  Bytes never change while anybody holds them. Any byte is legal, zero included; `cStr()` ends with one more zero.
///   C  Comparison is by unsigned bytes, a shorter prefix first; equality looks at the data pointers before the bytes.
///   D  The hash is computed once per data, on first use, and depends on the bytes alone.
///   E  Counting follows `VFPtrInterface::enableThreadSafePointers`, asked at every single operation.
///   F  An iterator holds its string: it stays valid after the string it came from is gone.
///
/// Use
///
///     Zon::String8 block = Zon::String8::concat({intf.view(), "-", counter.view()});
///     if (block == "Ethernet1-drops") { ... }   // compares in place, makes no second string
///     Zon::String8 text = Zon::format("%s has %lld blocks", block, 19);

#include <atomic>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Zon/BitReverse.h"
#include "Zon/VFPtrInterface.h"

namespace Zon {

/// Only the byte instantiation exists.
template <class Char>
class StringN;

template <>
class StringN<unsigned char> {
 public:
  class Data;
  class IteratorConst;

  constexpr StringN() noexcept = default;
  /// REQUIRES: `text` is not null.
  StringN(char const* text) : data_(make(checked(text))) {}
  StringN(std::string const& text) : data_(make(text)) {}
  StringN(std::string_view text) : data_(make(text)) {}
  StringN(std::nullptr_t) = delete;

  StringN(StringN const& other) noexcept;
  StringN(StringN&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}
  StringN& operator=(StringN const& other) noexcept {
    StringN(other).swap(*this);
    return *this;
  }
  StringN& operator=(StringN&& other) noexcept {
    StringN(std::move(other)).swap(*this);
    return *this;
  }
  ~StringN();

  void swap(StringN& other) noexcept { std::swap(data_, other.data_); }
  friend void swap(StringN& a, StringN& b) noexcept { a.swap(b); }

  /// All parts, one after the other, in a single allocation.
  static StringN concat(std::initializer_list<std::string_view> parts);

  /// Number of bytes.
  std::size_t length() const noexcept;
  bool empty() const noexcept { return data_ == nullptr; }
  /// The bytes, valid while this string or a copy of it lives.
  std::string_view view() const noexcept;
  std::string stdString() const { return std::string(view()); }
  /// The bytes and a terminating zero; a zero byte inside cuts what C functions see.
  char const* cStr() const noexcept { return view().data(); }

  std::uint32_t hash() const noexcept { return bitReverse(reversedHash()); }
  /// `bitReverse(hash())`, what keyed collections are ordered by.
  std::uint32_t reversedHash() const noexcept;
  /// The hash that a string of these bytes has.
  static std::uint32_t hashOf(std::string_view bytes) noexcept;

  IteratorConst begin() const noexcept;
  IteratorConst end() const noexcept;

  /// The shared bytes, null when empty.
  Data const* data() const noexcept { return data_; }

  friend bool operator==(StringN const& a, StringN const& b) noexcept { return a.data_ == b.data_ || equalBytes(a, b); }
  friend std::strong_ordering operator<=>(StringN const& a, StringN const& b) noexcept {
    return a.data_ == b.data_ ? std::strong_ordering::equal : compareBytes(a.view(), b.view());
  }
  template <class Text>
    requires(std::convertible_to<Text const&, std::string_view>)
  friend bool operator==(StringN const& a, Text const& b) noexcept { return a.view() == std::string_view(b); }

  friend StringN operator+(StringN const& a, StringN const& b) {
    return a.empty() ? b : b.empty() ? a : concat({a.view(), b.view()});
  }
  template <class Text>
    requires(std::convertible_to<Text const&, std::string_view>)
  friend StringN operator+(StringN const& a, Text const& b) { return concat({a.view(), std::string_view(b)}); }
  template <class Text>
    requires(std::convertible_to<Text const&, std::string_view>)
  friend StringN operator+(Text const& a, StringN const& b) { return concat({std::string_view(a), b.view()}); }
  StringN& operator+=(StringN const& other) { return *this = *this + other; }

 private:
  static std::string_view checked(char const* text);
  static Data* make(std::string_view text) { return text.empty() ? nullptr : makeData(text); }
  static Data* makeData(std::string_view text);
  static bool equalBytes(StringN const& a, StringN const& b) noexcept;
  static std::strong_ordering compareBytes(std::string_view a, std::string_view b) noexcept;

  Data* data_ = nullptr;
};

using String8 = StringN<unsigned char>;
using Name = String8;

/// The counted block behind a non-empty string: this header, the bytes, a zero. One allocation.
class StringN<unsigned char>::Data {
 public:
  Data(Data const&) = delete;
  Data& operator=(Data const&) = delete;

  std::size_t length() const noexcept { return length_; }
  char const* bytes() const noexcept { return reinterpret_cast<char const*>(this + 1); }
  std::string_view view() const noexcept { return {bytes(), length_}; }

  bool operator==(Data const& other) const noexcept { return this == &other || view() == other.view(); }
  bool operator<(Data const& other) const noexcept { return compareBytes(view(), other.view()) < 0; }

  /// Number of strings and iterators that share the bytes; for tests.
  std::uint32_t count() const noexcept { return count_.load(std::memory_order_relaxed); }

 private:
  friend class StringN<unsigned char>;

  explicit Data(std::uint32_t length) noexcept : length_(length) {}
  ~Data() = default;

  void increment() noexcept {
    if (VFPtrInterface::enableThreadSafePointers) [[unlikely]] {
      count_.fetch_add(1, std::memory_order_relaxed);
    } else {
      count_.store(count_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
  }
  /// True when that was the last one.
  bool decrement() noexcept {
    if (VFPtrInterface::enableThreadSafePointers) [[unlikely]] {
      return count_.fetch_sub(1, std::memory_order_acq_rel) == 1;
    }
    std::uint32_t const left = count_.load(std::memory_order_relaxed) - 1;
    count_.store(left, std::memory_order_relaxed);
    return left == 0;
  }
  static void destroy(Data* data) noexcept;
  static Data* allocate(std::size_t length);
  char* writableBytes() noexcept { return reinterpret_cast<char*>(this + 1); }
  std::uint32_t computeReversedHash() const noexcept;

  std::atomic<std::uint32_t> count_{1};
  std::uint32_t const length_;
  // Zero means not computed yet; no hash is zero. Racing threads store the same value.
  mutable std::atomic<std::uint32_t> reversedHash_{0};
};

inline StringN<unsigned char>::StringN(StringN const& other) noexcept : data_(other.data_) {
  if (data_ != nullptr) data_->increment();
}

inline StringN<unsigned char>::~StringN() {
  if (data_ != nullptr && data_->decrement()) Data::destroy(data_);
}

inline std::size_t StringN<unsigned char>::length() const noexcept { return data_ == nullptr ? 0 : data_->length_; }

inline std::string_view StringN<unsigned char>::view() const noexcept {
  return data_ == nullptr ? std::string_view("", 0) : data_->view();
}

inline bool StringN<unsigned char>::equalBytes(StringN const& a, StringN const& b) noexcept {
  // A string without data is empty; one with data is not.
  return a.data_ != nullptr && b.data_ != nullptr && a.length() == b.length() && a.view() == b.view();
}

inline std::uint32_t StringN<unsigned char>::reversedHash() const noexcept {
  constexpr std::uint32_t ofTheEmptyString = 1;
  if (data_ == nullptr) return ofTheEmptyString;
  std::uint32_t const known = data_->reversedHash_.load(std::memory_order_relaxed);
  return known != 0 ? known : data_->computeReversedHash();
}

/// A position in a string, counted in bytes from 0. Random access; `*` gives the byte.
/// Comparison is of positions. REQUIRES: both iterators walk the same string.
class StringN<unsigned char>::IteratorConst {
 public:
  using iterator_concept = std::random_access_iterator_tag;
  using iterator_category = std::input_iterator_tag;  // values, not references: the bytes belong to the iterator
  using value_type = unsigned char;
  using difference_type = std::ptrdiff_t;
  using pointer = void;
  using reference = unsigned char;

  IteratorConst() noexcept = default;
  /// REQUIRES: 0 <= `position` <= length.
  IteratorConst(StringN const& string, difference_type position) noexcept : string_(string), position_(position) {}

  /// Bytes before this position.
  difference_type position() const noexcept { return position_; }
  /// The string walked.
  StringN const& string() const noexcept { return string_; }
  bool atEnd() const noexcept { return position_ == static_cast<difference_type>(string_.length()); }

  /// REQUIRES: the position is inside the string (asserted).
  unsigned char operator*() const { return at(position_); }
  unsigned char operator[](difference_type offset) const { return at(position_ + offset); }

  IteratorConst& operator++() noexcept { return ++position_, *this; }
  IteratorConst& operator--() noexcept { return --position_, *this; }
  IteratorConst operator++(int) noexcept { return {string_, position_++}; }
  IteratorConst operator--(int) noexcept { return {string_, position_--}; }
  IteratorConst& operator+=(difference_type offset) noexcept { return position_ += offset, *this; }
  IteratorConst& operator-=(difference_type offset) noexcept { return position_ -= offset, *this; }

  friend IteratorConst operator+(IteratorConst it, difference_type offset) noexcept { return it += offset; }
  friend IteratorConst operator+(difference_type offset, IteratorConst it) noexcept { return it += offset; }
  friend IteratorConst operator-(IteratorConst it, difference_type offset) noexcept { return it -= offset; }
  friend difference_type operator-(IteratorConst const& a, IteratorConst const& b) noexcept {
    return a.position_ - b.position_;
  }
  friend bool operator==(IteratorConst const& a, IteratorConst const& b) noexcept { return a.position_ == b.position_; }
  friend std::strong_ordering operator<=>(IteratorConst const& a, IteratorConst const& b) noexcept {
    return a.position_ <=> b.position_;
  }

 private:
  unsigned char at(difference_type position) const {
    if (position < 0 || position >= static_cast<difference_type>(string_.length())) outside();
    return static_cast<unsigned char>(string_.data_->bytes()[position]);
  }
  [[noreturn]] static void outside();

  StringN string_;
  difference_type position_ = 0;
};

inline StringN<unsigned char>::IteratorConst StringN<unsigned char>::begin() const noexcept { return {*this, 0}; }

inline StringN<unsigned char>::IteratorConst StringN<unsigned char>::end() const noexcept {
  return {*this, static_cast<std::ptrdiff_t>(length())};
}

/// Writes all bytes, unformatted: width, fill and flags neither matter nor change.
std::ostream& operator<<(std::ostream& out, String8 const& string);

/// One argument of `format`: text, or an integer widened to 64 bits.
class FormatArg {
 public:
  FormatArg(String8 const& text) noexcept : text_(text.view()), kind_(Kind::text) {}
  FormatArg(std::string const& text) noexcept : text_(text), kind_(Kind::text) {}
  FormatArg(std::string_view text) noexcept : text_(text), kind_(Kind::text) {}
  FormatArg(char const* text) noexcept : text_(text), kind_(Kind::text) {}
  template <std::integral Integer>
  FormatArg(Integer value) noexcept : value_(static_cast<long long>(value)), kind_(Kind::integer) {}

  bool isText() const noexcept { return kind_ == Kind::text; }
  std::string_view text() const noexcept { return text_; }
  long long value() const noexcept { return value_; }

 private:
  enum class Kind : unsigned char { text, integer };

  std::string_view text_;
  long long value_ = 0;
  Kind kind_;
};

/// `format` with its arguments in an array.
String8 formatArgs(char const* pattern, std::span<FormatArg const> args);

/// Fills a pattern: `%s` takes a text (zero bytes kept), `%lld` and `%hhu` an integer (the latter its low 8
/// bits, unsigned), `%%` is a percent sign. REQUIRES: nothing else follows a percent sign, and the arguments
/// fit the pattern in number and kind (asserted).
template <class... Args>
String8 format(char const* pattern, Args const&... args) {
  if constexpr (sizeof...(Args) == 0) {
    return formatArgs(pattern, {});
  } else {
    FormatArg const list[] = {FormatArg(args)...};
    return formatArgs(pattern, list);
  }
}

}  // namespace Zon
