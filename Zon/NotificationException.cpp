#include "Zon/NotificationException.h"

#include <cstdlib>
#include <memory>
#include <ostream>
#include <string>
#include <typeinfo>

#include <cxxabi.h>

#include "Zon/Trace.h"

namespace Zon {

namespace {

// Made on first use: before that, enabling the facility by name is what brings it into being.
constinit LazyTraceHandle const facility("Zon");

std::string readableTypeName(std::type_info const& type) {
  int status = 0;
  std::unique_ptr<char, decltype(&std::free)> const name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                         &std::free);
  return status == 0 ? name.get() : type.name();
}

}  // namespace

void traceNotificationException(PtrInterface::NotifieeConst const& watcher, AttributeId id, char const* text) {
  trace(facility, 1, "Zon", __LINE__, "onNotificationException", [&](std::ostream& line) {
    line << "attribute " << id << ": " << readableTypeName(typeid(watcher)) << ": " << text;
  });
}

}  // namespace Zon
