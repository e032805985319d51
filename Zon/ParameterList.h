#pragma once

/// \file
/// Named parameters and their values out of an argument list: used by children, collections and generic factories.
///
/// Guarantees: all values are checked before anything is called with them; the first wrong one is named.
///
/// Use
///
///     constexpr Zon::ParameterList<Zon::String8, bool> list(Zon::parameters("name", "active"));
///     list.apply(arguments, "Port", [](Zon::String8 name, bool active) { ... });

#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Zon/AttrSpec.h"

namespace Zon {

template <std::size_t n>
struct ParameterNames {
  std::array<char const*, n> names;
};

template <class... Names>
constexpr auto parameters(Names... names) noexcept {
  return ParameterNames<sizeof...(Names)>{{{names...}}};
}

template <class... P>
class ParameterList {
 public:
  static constexpr std::size_t size = sizeof...(P);

  constexpr explicit ParameterList(ParameterNames<size> names) noexcept : names_(names) {}

  constexpr char const* name(std::size_t index) const noexcept { return names_.names[index]; }
  /// The node of the type of one parameter.
  static ZonType* type(std::size_t index) {
    constexpr std::array<ZonType* (*)(), size> nodes = {&typeNodeOf<std::remove_cvref_t<P>>...};
    return nodes[index]();
  }

  /// Calls `call` with the values of all elements. Errors, before anything is called: type exception naming the first
  /// parameter whose element is missing or wrong; unknown-argument exception naming `owner` for elements left over.
  template <class Call>
  auto apply(GenericIf::List const& list, String8 const& owner, Call const& call) const {
    return applyAt(list, owner, call, std::index_sequence_for<P...>());
  }

  /// The same for a single parameter given outside a list. Errors: type exception naming `attribute`.
  template <class Call>
  auto applySingle(GenericIf const* element, char const* attribute, Call const& call) const {
    return call(argumentOf<std::remove_cvref_t<P>>(element, attribute)...);
  }

 private:
  template <class Call, std::size_t... index>
  auto applyAt(GenericIf::List const& list, String8 const& owner, Call const& call,
               std::index_sequence<index...>) const {
    // A copy: what converts an element may come back to the list.
    GenericIf::List::Queue const queue = list.queue();  // NOLINT(performance-unnecessary-copy-initialization)
    std::array<GenericIf const*, size + 1> elements{};
    std::size_t given = 0;
    for (auto element = queue.iterator(); element && given <= size; ++element) {
      elements[given++] = element.ptr().ptr();
    }
    // Braces evaluate from the first parameter to the last.
    std::tuple<std::remove_cvref_t<P>...> const values{
        argumentOf<std::remove_cvref_t<P>>(index < given ? elements[index] : nullptr, names_.names[index])...};
    if (given > size) {
      GenericIf::throwUnknownArgException(owner);
    }
    return call(std::get<index>(values)...);
  }

  ParameterNames<size> names_;
};

}  // namespace Zon
