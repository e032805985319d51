#pragma once

/// \file
/// The rule of all creators and entry setters.
///
/// Guarantees: what they return or take is never null; the range exception "null ValidPtr" says so.
///
/// Use
///
///     return Zon::validPtr(Zon::newPtr<Port>(name));

#include <utility>

#include "Zon/Exception.h"
#include "Zon/Ptr.h"

namespace Zon {

/// The pointer, or the range exception "null ValidPtr".
template <class T>
Ptr<T> validPtr(Ptr<T> pointer) {
  if (!pointer) {
    throwRangeException("null ValidPtr");
  }
  return pointer;
}

}  // namespace Zon
