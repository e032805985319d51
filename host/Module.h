#pragma once

/// \file
/// A module of the plug-in, driven through registry and reflection alone.
///
/// Guarantees
///   A  The root is created by its type's name; children are set, taken away and called by the names of attributes.
///   B  Destruction drops the root, and with it whatever it owns.
///
/// Use
///
///     VaroHost::Module errdisable("VaroErrdisable::Root", "errdisable");
///     auto machine = errdisable.childIs("allIntfSM", {reference(activity), ...});
///     VaroHost::Module::call(machine, "handleInitialized");
///     auto config = VaroHost::Module::object<Interface::AllIntfConfigDir>(VaroHost::Module::get(directory, "config"));

#include <initializer_list>
#include <string>
#include <utility>

#include "Zon/GenericIf.h"
#include "Zon/Ptr.h"
#include "Zon/PtrInterface.h"
#include "Zon/String8.h"
#include "host/Trouble.h"

namespace VaroHost {

class Module {
 public:
  using Interface = Zon::Ptr<Zon::GenericIf>;

  /// Errors: `Trouble` when no loaded library registered that type.
  Module(Zon::Name typeName, Zon::Name name);

  /// Sets a child from its parameters; returns the child's interface.
  Interface childIs(Zon::String8 attribute, std::initializer_list<Interface> parameters);
  void childDel(Zon::String8 attribute);
  /// The child that is there, null for none.
  Interface child(Zon::String8 attribute) const { return get(interface_, std::move(attribute)); }

  /// Reads an attribute; of a collection the member of that key, null when absent.
  static Interface get(Interface const& object, Zon::String8 attribute, Interface const& key = {});
  /// Calls a function, without argument or with one.
  static void call(Interface const& object, Zon::String8 function, Interface const& argument = {});

  /// Wraps an object as a parameter.
  template <class T>
  static Interface reference(Zon::Ptr<T> const& object) {
    return Zon::newPtr<Zon::GenericIfRef<T>>(object);
  }
  /// Wraps a value as a parameter or key.
  template <class T>
  static Interface value(T value) {
    return Zon::newPtr<Zon::GenericIfValue<T>>(std::move(value));
  }
  /// The object behind an interface.
  /// Errors: `Trouble` when it is none of that type that may be modified.
  template <class T>
  static Zon::Ptr<T> object(Interface const& interface) {
    auto const found = Zon::ptrCast<T>(mutableObject(interface));
    return found ? found : throw Trouble(describeUnexpected(T::_fwkType()));
  }

 private:
  static Zon::Ptr<Zon::PtrInterface> mutableObject(Interface const& interface);
  static std::string describeUnexpected(Zon::ZonType const* expected);

  Zon::Ptr<Zon::PtrInterface> root_;
  Interface interface_;
};

}  // namespace VaroHost
