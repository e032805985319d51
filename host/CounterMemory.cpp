#include "host/CounterMemory.h"

#include <utility>

namespace VaroHost {

CounterMemory::CounterMemory(std::string prefix, std::uint64_t capacity)
  : prefix_(std::move(prefix)), capacity_(capacity) {}

Zon::Name CounterMemory::interfaceName() const { return objectName(".intf"); }

Zon::Name CounterMemory::queueName() const { return objectName(".queue"); }

Zon::Name CounterMemory::objectName(char const* ending) const { return isPrivate() ? Zon::Name() : prefix_ + ending; }

}  // namespace VaroHost
