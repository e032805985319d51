#pragma once

/// \file
/// How a host operation ended.

namespace Model {

enum class Outcome {
  done,
  refused,    ///< a range exception: nothing changed
  nameInUse,  ///< a name-in-use exception: what was done before it stands
  impossible  ///< the model alone: no host may do this
};

constexpr char const* text(Outcome outcome) {
  switch (outcome) {
  case Outcome::done:
    return "done";
  case Outcome::refused:
    return "refused";
  case Outcome::nameInUse:
    return "name in use";
  case Outcome::impossible:
    break;
  }
  return "impossible";
}

}  // namespace Model
