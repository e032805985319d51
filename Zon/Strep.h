#pragma once

/// \file
/// String representations: values and references as text, and back.
///
///     null                           the null reference; so is the empty text, when read
///     <VaroErrdisable::IntfSM#12>    type of the object and its serial
///     <VaroIntf::AllIntfDir#7 x/x>   of an entity also its full name, bytes outside 0x21 to 0x7e and < > \ " as \xHH
///
/// Guarantees
///   A  Reading what was printed yields the same object as long as it lives and has its type, wherever an entity has
///      moved. A serial is given when an object is first printed and never used again.
///   B  Text never harms: a dead object, an unknown serial or another type reads as null; malformed text reads as null
///      and nothing of it is consumed. An object that is being destroyed reads as null, a zombie as itself.
///   C  Texts hold in this process only. The table of serials holds no references; an object that was never printed
///      costs nothing when it is destroyed.
///
/// Use
///
///     Zon::String8 text = Zon::valueToStrep(reactor);
///     auto same = Zon::strepToValue<Zon::Ptr<VaroIntf::AllIntfReactor>>(text);

#include <concepts>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

#include "Zon/Entity.h"
#include "Zon/Ptr.h"
#include "Zon/String8.h"

namespace Zon {

/// Throws `ConversionException`: `cannot convert "TEXT" to TYPE`, for the text between the iterators.
[[noreturn]] void cannotConvert(String8::IteratorConst const& begin, String8::IteratorConst const& end,
                                std::type_info const& type);
/// Throws `RangeException`: `junk at column COLUMN deserializing TEXT`, id 12, flag true.
[[noreturn]] void junkAt(std::int64_t column, String8 const& text);

// The text form itself. The third argument only chooses the form; it is always null.

/// The object that the text at `begin` names; null, `begin` moved behind it or (malformed text) left alone.
Ptr<PtrInterface> sequenceToValueOfPtr(String8::IteratorConst& begin, String8::IteratorConst const& end, PtrInterface*);
/// The same; a live object that is no entity is left alone and reads as null.
Ptr<Entity> sequenceToValueOfPtr(String8::IteratorConst& begin, String8::IteratorConst const& end, Entity*);
String8 valueToStrepOfRawPtr(PtrInterface const* object, std::type_info const& type);
String8 valueToStrepOfRawPtr(Entity const* entity, std::type_info const& type);

/// Live objects that have a serial; for tests.
std::size_t strepObjects();

template <class T>
struct IsPtr : std::false_type {};
template <class T>
struct IsPtr<Ptr<T>> : std::true_type {
  using Object = T;
};

// Printing.

template <std::derived_from<PtrInterface> X>
String8 valueToStrep(X* object) {
  using Form = std::conditional_t<std::derived_from<X, Entity>, Entity, PtrInterface>;
  return valueToStrepOfRawPtr(static_cast<Form const*>(object), typeid(X));
}

template <class X>
String8 valueToStrep(Ptr<X> const& pointer) {
  return valueToStrep(pointer.ptr());
}

/// Takes nothing that would only convert to `bool`, as pointers do.
template <std::same_as<bool> Value>
String8 valueToStrep(Value value) {
  return value ? "true" : "false";
}
inline String8 valueToStrep(std::int32_t value) { return String8(std::to_string(value)); }
inline String8 valueToStrep(std::uint32_t value) { return String8(std::to_string(value)); }
inline String8 valueToStrep(String8 const& value) { return value; }

/// Any other value type prints as its stream operator does.
template <class T>
  requires(!std::is_pointer_v<T> && !std::is_arithmetic_v<T> && !IsPtr<T>::value &&
           !std::is_convertible_v<T, String8> && requires(std::ostream & out, T const& value) { out << value; })
String8 valueToStrep(T const& value) {
  std::ostringstream out;
  out << value;
  return String8(out.str());
}

// Reading. Values too are read from the front and leave `begin` behind what they consumed.

/// The bytes from `begin` to `end`, none when they are the wrong way round; valid while `begin` is.
std::string_view textBetween(String8::IteratorConst const& begin, String8::IteratorConst const& end);

void readValue(String8::IteratorConst& begin, String8::IteratorConst const& end, bool& value);
void readValue(String8::IteratorConst& begin, String8::IteratorConst const& end, std::int32_t& value);
void readValue(String8::IteratorConst& begin, String8::IteratorConst const& end, std::uint32_t& value);
/// Takes everything: any byte may belong to a string.
void readValue(String8::IteratorConst& begin, String8::IteratorConst const& end, String8& value);

template <class X>
Ptr<X> sequenceToPtr(String8::IteratorConst& begin, String8::IteratorConst const& end) {
  using Object = std::remove_const_t<X>;
  String8::IteratorConst const start = begin;
  if constexpr (std::derived_from<Object, Entity>) {
    if (Ptr<Entity> const entity = sequenceToValueOfPtr(begin, end, static_cast<Entity*>(nullptr))) {
      if (Ptr<Object> const object = ptrCast<Object>(entity)) {
        return object;
      }
      begin = start;
      cannotConvert(begin, end, typeid(X));
    }
    if (begin != start) {
      return {};
    }
  }
  Ptr<PtrInterface> const any = sequenceToValueOfPtr(begin, end, static_cast<PtrInterface*>(nullptr));
  if (!any) {
    return {};
  }
  if (Ptr<Object> const object = ptrCast<Object>(any)) {
    return object;
  }
  begin = start;
  cannotConvert(begin, end, typeid(X));
}

/// Reads a `T` from the front of the text: a `Ptr` or a value. Errors: conversion exception for a reference to an
/// object of another type and for a value that is none.
template <class T, class Iterator = String8::IteratorConst>
T sequenceToValue(Iterator& begin, Iterator const& end) {
  if constexpr (IsPtr<T>::value) {
    return sequenceToPtr<typename IsPtr<T>::Object>(begin, end);
  } else if constexpr (requires(T & value) { readValue(begin, end, value); }) {
    T value{};
    readValue(begin, end, value);
    return value;
  } else {
    // An identifier: whatever the bytes are.
    String8 bytes;
    readValue(begin, end, bytes);
    return T(bytes);
  }
}

/// Reads a whole text. Errors: those of `sequenceToValue`; range exception for anything behind the value.
template <class T>
T strepToValue(String8 const& text, T*) {
  String8::IteratorConst begin = text.begin();
  String8::IteratorConst const end = text.end();
  T value = sequenceToValue<T, String8::IteratorConst>(begin, end);
  if (begin == end) {
    return value;
  }
  junkAt(begin.position(), text);
}

template <class T>
T strepToValue(String8 const& text) {
  return strepToValue<T>(text, nullptr);
}

}  // namespace Zon
