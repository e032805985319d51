#include "host/Trouble.h"

#include <system_error>

namespace VaroHost {

Trouble::Trouble(std::string const& what, int errorNumber)
  : std::runtime_error(what + ": " + std::generic_category().message(errorNumber)) {}

}  // namespace VaroHost
