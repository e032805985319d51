#include "host/Module.h"

#include <utility>

#include <fmt/format.h>

#include "Zon/ZonType.h"
#include "host/Trouble.h"

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

void Module::call(Interface const& object, Zon::String8 function) {
  object->attributeOpByName(std::move(function), AttributeOp::call, nullptr, nullptr);
}

}  // namespace VaroHost
