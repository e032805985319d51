#pragma once

/// \file
/// `Zon::bitReverse`: mirrors the bits of a 32-bit word. Keyed collections are ordered by mirrored hashes.
///
/// Guarantees: `bitReverse(bitReverse(x)) == x`; usable in constant expressions.
///
/// Use
///
///     std::uint32_t const order = Zon::bitReverse(key.hash());

namespace Zon {

/// Bit i of `word` moves to bit 31 - i. Its own inverse.
constexpr unsigned int bitReverse(unsigned int word) noexcept {
  word = ((word >> 1) & 0x55555555U) | ((word & 0x55555555U) << 1);
  word = ((word >> 2) & 0x33333333U) | ((word & 0x33333333U) << 2);
  word = ((word >> 4) & 0x0f0f0f0fU) | ((word & 0x0f0f0f0fU) << 4);
  word = ((word >> 8) & 0x00ff00ffU) | ((word & 0x00ff00ffU) << 8);
  return (word >> 16) | (word << 16);
}

}  // namespace Zon
