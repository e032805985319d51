#include "platform/Orvet/IntfId.h"

#include <ostream>

namespace Orvet {

std::ostream& operator<<(std::ostream& out, IntfId const& id) { return out << id.stringValue(); }

}  // namespace Orvet
