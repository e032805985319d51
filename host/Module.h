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

#include <initializer_list>

#include "Zon/GenericIf.h"
#include "Zon/Ptr.h"
#include "Zon/PtrInterface.h"
#include "Zon/String8.h"

namespace VaroHost {

class Module {
 public:
  using Interface = Zon::Ptr<Zon::GenericIf>;

  /// Errors: `Trouble` when no loaded library registered that type.
  Module(Zon::Name typeName, Zon::Name name);

  /// Sets a child from its parameters; returns the child's interface.
  Interface childIs(Zon::String8 attribute, std::initializer_list<Interface> parameters);
  void childDel(Zon::String8 attribute);
  /// Calls a function without arguments.
  static void call(Interface const& object, Zon::String8 function);

  /// Wraps an object as a parameter.
  template <class T>
  static Interface reference(Zon::Ptr<T> const& object) {
    return Zon::newPtr<Zon::GenericIfRef<T>>(object);
  }

 private:
  Zon::Ptr<Zon::PtrInterface> root_;
  Interface interface_;
};

}  // namespace VaroHost
