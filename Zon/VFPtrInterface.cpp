#include "Zon/VFPtrInterface.h"

#include <new>

namespace Zon {

constinit bool VFPtrInterface::enableThreadSafePointers = false;

void* VFPtrInterface::operator new(std::size_t size) { return ::operator new(size); }

void VFPtrInterface::operator delete(void* memory) noexcept { ::operator delete(memory); }

}  // namespace Zon
