#pragma once

/// \file
/// The slot of a virtual operation in the virtual table of its class.

#include <cstddef>
#include <cstring>

namespace Support {

#if defined(__x86_64__)

/// Reads the slot out of a pointer to member: the common C++ ABI writes a virtual operation as 1 + its offset.
/// The two destructors take one slot each.
template <class C, class R, class... P>
std::size_t slotOf(R (C::*operation)(P...)) {
  std::size_t word;
  std::memcpy(&word, &operation, sizeof word);
  return (word - 1) / sizeof(void*);
}
template <class C, class R, class... P>
std::size_t slotOf(R (C::*operation)(P...) const) {
  std::size_t word;
  std::memcpy(&word, &operation, sizeof word);
  return (word - 1) / sizeof(void*);
}

#define VARO_TEST_SLOTS 1
#else
#define VARO_TEST_SLOTS 0
#endif

}  // namespace Support
