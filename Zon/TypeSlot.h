#pragma once

/// \file
/// `Zon::TypeSlot`, the static place of a class's type node, and `Zon::TypeModule`, the registration of all types of a
/// module. Include Zon/AttrTable.h, which says how a class is described.
///
/// Guarantees
///   A  Both are constant-initialised: a node can be asked for from any static initialiser, in any order, and is
///      complete.
///   B  Introspection and registration of a module run once. Flags only go from false to true; nodes and attribute
///      handles live to the end of the process.
///   C  Registration throws nothing and traces nothing.
///
/// Use: the registration file of a module
///
///     namespace Net {
///     namespace {
///     constexpr Zon::TypeModule::Type types[] = {&PortSm::_fwkType, &Root::_fwkType};
///     }
///     constinit Zon::TypeModule zonTypeModule(types);    // declared extern for the module's sources
///     namespace {
///     Zon::ModuleInitialiser const initialiser(zonTypeModule);
///     }
///     bool _fwkRegistered() { return zonTypeModule.registered(); }
///     }

#include <cstddef>
#include <ios>

#include "Zon/AttrSpec.h"
#include "Zon/ParameterList.h"
#include "Zon/Trace.h"

namespace Zon {

/// The lines of a type's attribute table.
class AttrLines {
 public:
  virtual void forEach(void (*line)(void* context, AttrSpec const& spec), void* context) const = 0;

 protected:
  ~AttrLines() = default;
};

/// The constructor parameters of a type.
class Creator {
 public:
  virtual std::size_t parameters() const noexcept = 0;
  virtual char const* name(std::size_t index) const noexcept = 0;
  virtual ZonType* type(std::size_t index) const = 0;

 protected:
  ~Creator() = default;
};

/// Parameters of the types P.
template <class... P>
class ConstructorOf : public Creator {
 public:
  constexpr explicit ConstructorOf(ParameterNames<sizeof...(P)> names) noexcept : parameters_(names) {}

  std::size_t parameters() const noexcept final { return sizeof...(P); }
  char const* name(std::size_t index) const noexcept final { return parameters_.name(index); }
  ZonType* type(std::size_t index) const final { return ParameterList<P...>::type(index); }

 protected:
  ParameterList<P...> parameters_;
};

/// Parameters and the function that makes an instance of X.
template <class X, class... P>
class CreatorOf final : public ConstructorOf<P...> {
 public:
  constexpr CreatorOf(Ptr<X> (*function)(P...), ParameterNames<sizeof...(P)> names) noexcept
    : ConstructorOf<P...>(names), function_(function) {}

  /// An instance made of the arguments in a `GenericIf::List_`.
  Ptr<PtrInterface> create(Ptr<GenericIf> const& arguments) const {
    return this->parameters_.apply(listArgument(arguments), X::_fwkType()->name(),
                                   [this](auto const&... values) { return Ptr<PtrInterface>(function_(values...)); });
  }

 private:
  Ptr<X> (*function_)(P...);
};

/// Describes a constructor with parameters of the types P.
template <class... P, class... Names>
constexpr auto constructor(Names... names) noexcept {
  static_assert(sizeof...(P) == sizeof...(Names), "a name for every parameter");
  return ConstructorOf<P...>(Zon::parameters(names...));
}

/// Describes what makes instances of X: a factory, or a creator that only owners call.
template <class X, class... P, class... Names>
constexpr auto creator(Ptr<X> (*function)(P...), Names... names) noexcept {
  static_assert(sizeof...(P) == sizeof...(Names), "a name for every parameter");
  return CreatorOf<X, P...>(function, Zon::parameters(names...));
}

/// Registers the types of one module.
class TypeModule {
 public:
  using Type = ZonType* (*)();

  template <std::size_t n>
  constexpr explicit TypeModule(Type const (&types)[n]) noexcept : types_(types), count_(n) {}
  TypeModule(TypeModule const&) = delete;
  TypeModule& operator=(TypeModule const&) = delete;

  /// Describes all types to the introspection reactor.
  void introspect();
  /// Enters all types into the registry and takes their attribute handles. Returns `registered()`.
  bool registerTypes() noexcept;
  bool registered() const noexcept { return registered_; }

 private:
  void introspectType(ZonType& type);
  bool isNested(ZonType const& type) const;

  Type const* types_;
  std::size_t count_;
  // Plain flags, set before the work begins: the work comes back here.
  bool introspectionBegun_ = false;
  bool registrationBegun_ = false;
  bool registered_ = false;
};

/// The static initialiser of a module: the standard streams, the modules' common trace facility, then the types.
/// Everything that others may ask for before it has run is in the `TypeModule`, which is constant-initialised.
class ModuleInitialiser {
 public:
  explicit ModuleInitialiser(TypeModule& module) : facility_("RootPathBase::Zon", false) { module.registerTypes(); }

 private:
  std::ios_base::Init const streams_;
  TraceHandle const facility_;
};

/// The runtime's own types; they precede all others in the registry.
extern TypeModule zonRuntimeTypes;

class TypeSlot {
 public:
  using Node = ZonType* (*)();
  using Interface = Ptr<GenericIf> (*)(Ptr<PtrInterface const> const& object, bool isConst);

  constexpr TypeSlot(TypeModule& module, char const* name, Node baseNode, AttrLines const* table,
                     Interface makeInterface) noexcept
    : module_(&module), fullName_(name), base_(baseNode), lines_(table), interface_(makeInterface) {}

  /// The same with constructor parameters, for a type that only its owners construct.
  constexpr TypeSlot constructedBy(Creator const& parameters) const noexcept {
    TypeSlot slot = *this;
    slot.creator_ = &parameters;
    return slot;
  }
  /// The same, constructible by name.
  template <auto const& creation>
  constexpr TypeSlot constructible() const noexcept {
    TypeSlot slot = constructedBy(creation);
    slot.factory_ = [](Ptr<GenericIf> const& arguments) { return creation.create(arguments); };
    return slot;
  }

  /// The node, made on first use.
  ZonType* node() { return node_ != nullptr ? node_ : makeNode(); }
  /// The type's answer for an entity's `attributeString`.
  String8 attributeString(AttributeId id) { return node()->attributeString(id); }
  bool registered() const noexcept { return registered_; }

  char const* fullName() const noexcept { return fullName_; }
  Node base() const noexcept { return base_; }
  AttrLines const* lines() const noexcept { return lines_; }
  Interface interface() const noexcept { return interface_; }
  Creator const* creator() const noexcept { return creator_; }
  ZonType::GenericFactory factory() const noexcept { return factory_; }

 private:
  friend TypeModule;

  ZonType* makeNode();
  void takeHandles();

  TypeModule* module_;
  char const* fullName_;
  Node base_;
  AttrLines const* lines_;
  Interface interface_;
  Creator const* creator_ = nullptr;
  ZonType::GenericFactory factory_ = nullptr;
  ZonType* node_ = nullptr;
  // A handle on each attribute, kept for the life of the process.
  Ptr<ZonAttr>* handles_ = nullptr;
  bool registered_ = false;
};

template <class X>
Ptr<GenericIf> interfaceMaker(Ptr<PtrInterface const> const& object, bool isConst) {
  auto const* const typed = dynamic_cast<X const*>(object.ptr());
  if (object && typed == nullptr) {
    GenericIf::throwTypeException(X::_fwkType()->fullName());
  }
  if (isConst) {
    return newPtr<TableGenericIf<X>>(Ptr<X const>(typed));
  }
  return newPtr<TableGenericIf<X>>(Ptr<X>(const_cast<X*>(typed)));
}

/// The slot of class X. The table must live as long as the process.
template <class X>
constexpr TypeSlot typeSlot(TypeModule& module, char const* fullName, TypeSlot::Node base,
                            AttrLines const& lines) noexcept {
  return TypeSlot(module, fullName, base, &lines, &interfaceMaker<X>);
}
/// The slot of a class without attributes of its own.
template <class X>
constexpr TypeSlot typeSlot(TypeModule& module, char const* fullName, TypeSlot::Node base) noexcept {
  return TypeSlot(module, fullName, base, nullptr, &interfaceMaker<X>);
}
/// The slot of a value type.
constexpr TypeSlot valueTypeSlot(TypeModule& module, char const* fullName) noexcept {
  return TypeSlot(module, fullName, nullptr, nullptr, nullptr);
}

}  // namespace Zon
