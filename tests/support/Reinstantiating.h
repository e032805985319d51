#pragma once

/// \file
/// What a repeated creation with another constructor parameter is answered.
///
/// Use
///
///     EXPECT_EQ(Support::refusal([&] { reactor->sliceSmIs(nullptr, "a", out, other); }),
///               Support::reinstantiating("counterIn", other, current));

#include <string>

#include "Zon/Exception.h"
#include "Zon/Ptr.h"
#include "Zon/Strep.h"

namespace Support {

/// The text of the exception, of the text forms of both values.
inline std::string reinstantiating(std::string const& parameter, Zon::String8 const& wanted,
                                   Zon::String8 const& current) {
  return "Reinstantiating the pointer interface where constructor parameter attribute _" + parameter +
         " has a different value of " + wanted.stdString() + " than the current value of " + current.stdString() +
         " not allowed";
}

/// The same, of the values.
template <class T>
std::string reinstantiating(std::string const& parameter, Zon::Ptr<T> const& wanted, Zon::Ptr<T> const& current) {
  return reinstantiating(parameter, Zon::valueToStrep(wanted), Zon::valueToStrep(current));
}

/// The text of the name-in-use exception that the call raises, or "accepted".
template <class Call>
std::string refusal(Call const& call) {
  try {
    call();
  } catch (Zon::NameInUseException const& exception) {
    return exception.what();
  }
  return "accepted";
}

}  // namespace Support
