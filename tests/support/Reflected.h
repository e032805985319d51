#pragma once

/// \file
/// Reflective answers and refusals as text, so that tests compare one string an operation.

#include <string>

#include "Zon/Exception.h"
#include "Zon/GenericIf.h"
#include "Zon/Strep.h"
#include "Zon/ZonType.h"
#include "platform/Interface/IntfEnabledState.h"
#include "platform/Orvet/IntfId.h"

namespace test {

using Op = Zon::GenericIf::AttributeOp;
using If = Zon::Ptr<Zon::GenericIf>;

template <class T>
If value(T v) {
  return Zon::newPtr<Zon::GenericIfValue<T>>(std::move(v));
}
inline If text(char const* s) { return value(Zon::String8(s)); }
inline If intf(char const* s) { return value(Orvet::IntfId(s)); }
template <class T>
If ref(Zon::Ptr<T> const& p) {
  return Zon::newPtr<Zon::GenericIfRef<T>>(p);
}
template <class... E>
If list(E const&... e) {
  return Zon::GenericIf::listOf({e...});
}

/// "null", "bool true", "ref", "const ref", "if Type", "const if Type", "iterator", ...
inline std::string shown(If const& answer) {
  if (!answer) return "null";
  std::string const prefix = answer->isConst() ? "const " : "";
  if (auto const v = Zon::ptrCast<Zon::GenericIfValue<bool>>(answer)) return v->value() ? "true" : "false";
  if (auto const v = Zon::ptrCast<Zon::GenericIfValue<std::int32_t>>(answer)) return "i" + std::to_string(v->value());
  if (auto const v = Zon::ptrCast<Zon::GenericIfValue<std::uint32_t>>(answer)) return "u" + std::to_string(v->value());
  if (auto const v = Zon::ptrCast<Zon::GenericIfValue<Zon::String8>>(answer))
    return "\"" + v->value().stdString() + "\"";
  if (auto const v = Zon::ptrCast<Zon::GenericIfValue<Orvet::IntfId>>(answer)) {
    return "id " + v->value().stringValue().stdString();
  }
  if (auto const v = Zon::ptrCast<Zon::GenericIfValue<Interface::IntfEnabledState>>(answer)) {
    return Zon::valueToStrep(v->value()).stdString();
  }
  if (Zon::ptrCast<Zon::GenericIfIterator>(answer)) return prefix + "iterator";
  if (auto const r = Zon::ptrCast<Zon::GenericIfAnyRef>(answer)) {
    return prefix + "ref " + (r->zonObject() ? r->zonObject()->fwkType()->name().stdString() : "null");
  }
  if (auto const i = Zon::ptrCast<Zon::GenericIfPtrInterface>(answer)) {
    return prefix + "if " + i->zonType()->name().stdString();
  }
  return "?";
}

/// What the call answers, or the kind and text of what it throws.
template <class Call>
std::string outcome(Call const& call) {
  try {
    if constexpr (std::is_void_v<decltype(call())>) {
      call();
      return "done";
    } else {
      return shown(call());
    }
  } catch (Zon::ConstException const& e) {
    return std::string("Const: ") + e.what();
  } catch (Zon::TypeException const& e) {
    return std::string("Type: ") + e.what();
  } catch (Zon::UnknownArgException const& e) {
    return std::string("UnknownArg: ") + e.what();
  } catch (Zon::BadIndexAttrException const& e) {
    return std::string("BadIndex: ") + e.what();
  } catch (Zon::OpNotSupportedException const& e) {
    return "Op: " + std::string(e.what()) + (e.flag() ? " true" : "");
  } catch (Zon::NameInUseException const& e) {
    return std::string("NameInUse: ") + e.what();
  } catch (Zon::ConversionException const& e) {
    return std::string("Conversion: ") + e.what();
  } catch (Zon::RangeException const& e) {
    return std::string("Range: ") + e.what();
  }
}

inline std::string op(If const& on, Zon::AttributeId id, unsigned opId, If const& key = {}, If const& v = {}) {
  return outcome([&] { return on->attributeOp(Op(id, opId), key, v); });
}
inline std::string byName(If const& on, char const* name, unsigned opId, If const& key = {}, If const& v = {}) {
  return outcome([&] { return on->attributeOpByName(name, opId, key, v); });
}

}  // namespace test
