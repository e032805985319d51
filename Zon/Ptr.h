#pragma once

/// \file
/// `Zon::Ptr<T>`: the intrusive counted pointer, the one way to own a `Zon::PtrInterface`.
///
/// Guarantees
///   A  Constructing from a raw pointer and copying increment; destruction and reassignment decrement; moving does
///      neither; a null pointer is never touched.
///   B  Reassignment takes the new reference before it drops the old one: self-assignment and assignment from within
///      the object that is released are safe.
///   C  Derived converts to base and mutable to const implicitly; const never converts to mutable.
///   D  Comparison is identity, against any `Ptr`, raw pointer or `nullptr`.
///
/// Use
///
///     Zon::Ptr<Port> port = Zon::newPtr<Port>("Ethernet1");   // adopts the count the object is born with
///     Zon::Ptr<Port const> reader = port;
///     if (auto uplink = Zon::ptrCast<Uplink>(port)) { ... }    // null when of another type

#include <cstddef>
#include <type_traits>
#include <utility>

#include "Zon/PtrInterface.h"

namespace Zon {

template <class T>
class Ptr {
 public:
  using element_type = T;

  constexpr Ptr() noexcept = default;
  constexpr Ptr(std::nullptr_t) noexcept {}
  /// Takes a reference of its own; the caller keeps whatever it had.
  Ptr(T* object) noexcept : object_(object) { take(); }
  Ptr(Ptr const& other) noexcept : object_(other.object_) { take(); }
  Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

  template <class U>
    requires(!std::is_same_v<U, T> && std::is_convertible_v<U*, T*>)
  Ptr(Ptr<U> const& other)
  noexcept : object_(other.ptr()) { take(); }
  template <class U>
    requires(!std::is_same_v<U, T> && std::is_convertible_v<U*, T*>)
  Ptr(Ptr<U>&& other)
  noexcept : object_(other.zonRelease()) {}

  ~Ptr() {
    if (object_ != nullptr) decrement(object_);
  }

  Ptr& operator=(Ptr const& other) noexcept {
    Ptr(other).swap(*this);
    return *this;
  }
  Ptr& operator=(Ptr&& other) noexcept {
    Ptr(std::move(other)).swap(*this);
    return *this;
  }

  T* ptr() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  void swap(Ptr& other) noexcept { std::swap(object_, other.object_); }
  friend void swap(Ptr& a, Ptr& b) noexcept { a.swap(b); }

  /// Wraps a reference that the caller already owns; `newPtr` is its only regular user.
  static Ptr zonAdopt(T* object) noexcept {
    Ptr adopted;
    adopted.object_ = object;
    return adopted;
  }
  /// Gives the reference away: the caller now owns it.
  T* zonRelease() noexcept { return std::exchange(object_, nullptr); }

 private:
  void take() const noexcept {
    if (object_ != nullptr) increment(object_);
  }

  T* object_ = nullptr;
};

/// Keeps an object alive while something is called that may drop every other reference. A `Ptr` without the tests for
/// null, for the hottest paths. REQUIRES: the object is not null.
class Hold {
 public:
  explicit Hold(PtrInterface const& object) noexcept : object_(object) { increment(&object_); }
  ~Hold() { decrement(&object_); }
  Hold(Hold const&) = delete;
  Hold& operator=(Hold const&) = delete;

 private:
  PtrInterface const& object_;
};

template <class T, class U>
bool operator==(Ptr<T> const& a, Ptr<U> const& b) noexcept {
  return static_cast<PtrInterface const*>(a.ptr()) == static_cast<PtrInterface const*>(b.ptr());
}
template <class T, class U>
  requires std::is_convertible_v<U*, PtrInterface const*>
bool operator==(Ptr<T> const& a, U* b) noexcept {
  return static_cast<PtrInterface const*>(a.ptr()) == static_cast<PtrInterface const*>(b);
}
template <class T>
bool operator==(Ptr<T> const& a, std::nullptr_t) noexcept {
  return a.ptr() == nullptr;
}

/// Makes a `T` on the heap and adopts the count of one it is born with. A constructor that throws leaves nothing.
template <class T, class... Args>
Ptr<T> newPtr(Args&&... args) {
  return Ptr<T>::zonAdopt(new T(std::forward<Args>(args)...));
}

/// The same object as a `U`, or null when it is of another type (or null itself).
template <class U, class T>
Ptr<U> ptrCast(Ptr<T> const& pointer) noexcept {
  return Ptr<U>(dynamic_cast<U*>(pointer.ptr()));
}

}  // namespace Zon
