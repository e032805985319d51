#include "Zon/String8.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <limits>
#include <new>
#include <ostream>
#include <stdexcept>

#include "Zon/Trace.h"

namespace Zon {

namespace {

constexpr std::uint64_t mixer = 0x9e3779b97f4a7c15U;

// Spreads every input bit over the whole word.
constexpr std::uint64_t finalMix(std::uint64_t word) noexcept {
  word = (word ^ (word >> 32)) * 0xd6e8feb86659fd93U;
  word = (word ^ (word >> 32)) * 0xd6e8feb86659fd93U;
  return word ^ (word >> 32);
}

std::uint64_t load64(char const* at) noexcept {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

std::uint32_t load32(char const* at) noexcept {
  std::uint32_t word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

// REQUIRES: `size` < 8. The length is mixed in elsewhere, so overlapping loads keep strings apart.
std::uint64_t loadShort(char const* at, std::size_t size) noexcept {
  if (size >= 4) return load32(at) | std::uint64_t{load32(at + size - 4)} << 32;
  auto const byte = [at](std::size_t i) { return std::uint64_t{static_cast<unsigned char>(at[i])}; };
  return size == 0 ? 0 : byte(0) | byte(size / 2) << 8 | byte(size - 1) << 16;
}

// Never zero, which stands for "not computed yet".
std::uint32_t reversedHashOf(std::string_view bytes) noexcept {
  std::uint64_t state = bytes.size() * mixer;
  auto const mix = [&state](std::uint64_t word) { state = std::rotl((state ^ word) * mixer, 29); };
  char const* at = bytes.data();
  std::size_t left = bytes.size();
  if (left < 8) {
    mix(loadShort(at, left));
  } else {
    for (; left > 8; left -= 8, at += 8)
      mix(load64(at));
    mix(load64(at + left - 8));
  }
  auto const hash = static_cast<std::uint32_t>(finalMix(state));
  return hash != 0 ? hash : 1;
}

}  // namespace

std::uint32_t String8::hashOf(std::string_view bytes) noexcept {
  return bytes.empty() ? String8().hash() : bitReverse(reversedHashOf(bytes));
}

std::uint32_t String8::Data::computeReversedHash() const noexcept {
  std::uint32_t const reversed = reversedHashOf(view());
  reversedHash_.store(reversed, std::memory_order_relaxed);
  return reversed;
}

String8::Data* String8::Data::allocate(std::size_t length) {
  if (length > std::numeric_limits<std::uint32_t>::max()) throw std::length_error("Zon::String8: too long");
  void* const place = ::operator new(sizeof(Data) + length + 1);
  return ::new (place) Data(static_cast<std::uint32_t>(length));
}

void String8::Data::destroy(Data* data) noexcept {
  data->~Data();
  ::operator delete(data);
}

String8::Data* String8::makeData(std::string_view text) {
  Data* const data = Data::allocate(text.size());
  std::memcpy(data->writableBytes(), text.data(), text.size());
  data->writableBytes()[text.size()] = '\0';
  return data;
}

std::string_view String8::checked(char const* text) {
  require(text != nullptr, "text != 0", "Zon/String8", __LINE__, "String8");
  return text;
}

String8 String8::concat(std::initializer_list<std::string_view> parts) {
  std::size_t length = 0;
  for (std::string_view part : parts)
    length += part.size();
  String8 whole;
  if (length == 0) return whole;
  whole.data_ = Data::allocate(length);
  char* at = whole.data_->writableBytes();
  for (std::string_view part : parts)
    at = std::copy(part.begin(), part.end(), at);
  *at = '\0';
  return whole;
}

std::strong_ordering String8::compareBytes(std::string_view a, std::string_view b) noexcept {
  // char_traits<char> compares as unsigned bytes.
  return a.compare(b) <=> 0;
}

void String8::IteratorConst::outside() {
  assertFailed("position inside the string", "Zon/String8", __LINE__, "IteratorConst::operator*");
}

std::ostream& operator<<(std::ostream& out, String8 const& string) {
  std::string_view const bytes = string.view();
  return out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

namespace {

void appendInteger(std::string& out, long long value) {
  char digits[24];
  auto const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  out.append(digits, end);
}

}  // namespace

String8 formatArgs(char const* pattern, std::span<FormatArg const> args) {
  auto const expect = [](bool condition, char const* text) {
    require(condition, text, "Zon/String8", __LINE__, "format");
  };
  std::string out;
  std::size_t used = 0;
  auto const next = [&](bool text) -> FormatArg const& {
    expect(used < args.size(), "an argument for every conversion");
    FormatArg const& arg = args[used++];
    expect(arg.isText() == text, "the argument fits its conversion");
    return arg;
  };
  std::string_view rest = pattern;
  for (std::size_t percent; (percent = rest.find('%')) != std::string_view::npos;) {
    out.append(rest.substr(0, percent));
    rest.remove_prefix(percent + 1);
    std::size_t taken = 1;
    if (rest.starts_with('s')) {
      out.append(next(true).text());
    } else if (rest.starts_with("lld")) {
      appendInteger(out, next(false).value());
      taken = 3;
    } else if (rest.starts_with("hhu")) {
      appendInteger(out, static_cast<unsigned char>(next(false).value()));
      taken = 3;
    } else {
      expect(rest.starts_with('%'), "a known conversion");
      out.push_back('%');
    }
    rest.remove_prefix(taken);
  }
  out.append(rest);
  expect(used == args.size(), "a conversion for every argument");
  return out;
}

}  // namespace Zon
