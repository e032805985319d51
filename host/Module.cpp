#include "host/Module.h"

#include <utility>

#include <fmt/format.h>

#include "Zon/ZonType.h"
namespace VaroHost {

namespace {

using AttributeOp = Zon::GenericIf::AttributeOp;

}  // namespace

Module::Module(Zon::Name typeName, Zon::Name name) {
  auto const type = Zon::ZonType::typeNode(typeName);
  if (!type || type->genericFactory() == nullptr) {
    throw Trouble(fmt::format("the plug-in does not offer the type {}", typeName.view()));
  }
  root_ = type->genericFactory()(Zon::GenericIf::listOf({Zon::newPtr<Zon::GenericIfValue<Zon::String8>>(name)}));
  interface_ = type->genericIf(root_);
}

Module::Interface Module::childIs(Zon::String8 attribute, std::initializer_list<Interface> parameters) {
  return interface_->attributeOpByName(std::move(attribute), AttributeOp::set, nullptr,
                                       Zon::GenericIf::listOf(parameters));
}

void Module::childDel(Zon::String8 attribute) {
  interface_->attributeOpByName(std::move(attribute), AttributeOp::del, nullptr, nullptr);
}

Module::Interface Module::get(Interface const& object, Zon::String8 attribute, Interface const& key) {
  return object->attributeOpByName(std::move(attribute), AttributeOp::get, key, nullptr);
}

void Module::call(Interface const& object, Zon::String8 function, Interface const& argument) {
  object->attributeOpByName(std::move(function), AttributeOp::call, nullptr,
                            argument ? Zon::GenericIf::listOf({argument}) : nullptr);
}

Zon::Ptr<Zon::PtrInterface> Module::mutableObject(Interface const& interface) {
  auto const reached = Zon::ptrCast<Zon::GenericIfPtrInterface>(interface);
  if (!reached || reached->isConst()) {
    return nullptr;
  }
  // Interfaces keep every object as const; this one was made of a mutable one.
  return Zon::Ptr<Zon::PtrInterface>(const_cast<Zon::PtrInterface*>(reached->zonObject().ptr()));
}

std::string Module::describeUnexpected(Zon::ZonType const* expected) {
  return fmt::format("the plug-in has no {} where one belongs", expected->fullName().view());
}

}  // namespace VaroHost
