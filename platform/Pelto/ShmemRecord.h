#pragma once

/// \file
/// `Pelto::ShmemRecord`: how a counter block stands in its object. Records follow the header, one after the other, each
/// at a multiple of 64: this head, the name, zeros up to the next multiple of 64, the block.
///
/// Guarantees
///   A  Makers and readers of all processes agree on these numbers; another layout takes another magic.
///
/// Use
///
///     std::uint64_t next = at + Pelto::ShmemRecord::sizeOf(record.nameLength);

#include <cstdint>

#include "platform/Pelto/ShmemObject.h"

namespace Pelto {

struct ShmemRecord {
  std::uint32_t size;
  std::uint32_t nameLength;

  /// From the record to its block.
  static constexpr std::uint64_t blockOffset(std::uint64_t nameLength) noexcept {
    constexpr std::uint64_t unit = ShmemObject::blockSize;
    return (sizeof(ShmemRecord) + nameLength + unit - 1) / unit * unit;
  }
  /// Of the whole record.
  static constexpr std::uint64_t sizeOf(std::uint64_t nameLength) noexcept {
    return blockOffset(nameLength) + ShmemObject::blockSize;
  }
};
static_assert(sizeof(ShmemRecord) == 8);

}  // namespace Pelto
