#include "faults/FailingAllocations.h"

#include <cstdlib>
#include <new>

namespace Faults {

namespace {

constinit std::size_t live = 0;

void* allocate(std::size_t size, std::size_t alignment) noexcept {
  if (FailingAllocations::fails()) return nullptr;
  // The size must be a multiple of the alignment.
  void* const made = alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__
                         ? std::malloc(size == 0 ? 1 : size)
                         : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
  if (made != nullptr) ++live;
  return made;
}

void* allocateOrThrow(std::size_t size, std::size_t alignment) {
  if (void* const made = allocate(size, alignment)) return made;
  throw std::bad_alloc();
}

void giveBack(void* block) noexcept {
  if (block == nullptr) return;
  --live;
  std::free(block);
}

}  // namespace

constinit FailingAllocations* FailingAllocations::current = nullptr;

FailingAllocations::FailingAllocations(std::size_t nth, Which which) noexcept : nth_(nth), which_(which) {
  current = this;
}

void FailingAllocations::end() noexcept { current = nullptr; }

bool FailingAllocations::fails() noexcept {
  if (current == nullptr) return false;
  std::size_t const number = ++current->asked_;
  bool const fails =
      current->nth_ != 0 && (current->which_ == Which::thatOne ? number == current->nth_ : number >= current->nth_);
  current->failures_ += fails ? 1 : 0;
  return fails;
}

std::size_t liveAllocations() noexcept { return live; }

}  // namespace Faults

using Faults::allocate;
using Faults::allocateOrThrow;
using Faults::giveBack;

constexpr std::size_t usual = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

// A sanitizer has forms of its own for all of these, so the forms of arrays must be replaced as well.
void* operator new(std::size_t size) { return allocateOrThrow(size, usual); }
void* operator new(std::size_t size, std::nothrow_t const&) noexcept { return allocate(size, usual); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, std::nothrow_t const&) noexcept {
  return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept { giveBack(block); }
void operator delete(void* block, std::size_t) noexcept { giveBack(block); }
void operator delete(void* block, std::nothrow_t const&) noexcept { giveBack(block); }
void operator delete(void* block, std::align_val_t) noexcept { giveBack(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { giveBack(block); }
void operator delete(void* block, std::align_val_t, std::nothrow_t const&) noexcept { giveBack(block); }
void* operator new[](std::size_t size) { return allocateOrThrow(size, usual); }
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept { return allocate(size, usual); }
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, std::nothrow_t const&) noexcept {
  return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete[](void* block) noexcept { giveBack(block); }
void operator delete[](void* block, std::size_t) noexcept { giveBack(block); }
void operator delete[](void* block, std::nothrow_t const&) noexcept { giveBack(block); }
void operator delete[](void* block, std::align_val_t) noexcept { giveBack(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { giveBack(block); }
void operator delete[](void* block, std::align_val_t, std::nothrow_t const&) noexcept { giveBack(block); }
