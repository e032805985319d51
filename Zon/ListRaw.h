#pragma once

/// \file
/// `Zon::ListRaw<T>`: the intrusive list in which a notifier keeps its registered watchers.
///
/// Guarantees
///   A  The list owns nothing: it holds no reference and nothing it does destroys a member. A member leaves the list
///      before it dies.
///   B  Order of the list is order of appending. Every change adds one to the modification counter.
///   C  Appending takes constant time, unlinking one search from the head. Nothing allocates.
///   D  `T` may be incomplete where a list is declared; it must be complete where the list is used.
///
/// The list has no defence against changes during a walk: who calls out while walking takes a
/// `SnapshotIterator`.
///
/// Use
///
///     Zon::ListRaw<Port::NotifieeConst> watchers;
///     watchers.append(&watcher);
///     ...
///     watchers.unlink(&watcher);

#include <concepts>
#include <cstdint>

#include "Zon/Ptr.h"
#include "Zon/PtrInterface.h"
#include "Zon/Trace.h"

namespace Zon {

/// How a list reaches the link inside a member: watchers have theirs in their base, any other member class
/// offers `T* lrNext() const` and `void lrNextIs(T*)`. Specialise it for a member that does neither.
template <class T>
struct ListRawLink {
  // In terms of the base: the class T of a member on its way out of the list may be behind it already.
  static PtrInterface* next(PtrInterface const* member) noexcept {
    if constexpr (std::derived_from<T, PtrInterface::NotifieeConst>) {
      return static_cast<PtrInterface::NotifieeConst const*>(member)->zonNextNotifiee();
    } else {
      return static_cast<T const*>(member)->lrNext();
    }
  }
  static void nextIs(PtrInterface* member, PtrInterface* next) noexcept {
    if constexpr (std::derived_from<T, PtrInterface::NotifieeConst>) {
      using Watcher = PtrInterface::NotifieeConst;
      static_cast<Watcher*>(member)->zonNextNotifieeIs(static_cast<Watcher*>(next));
    } else {
      static_cast<T*>(member)->lrNextIs(static_cast<T*>(next));
    }
  }
};

template <class T>
class ListRaw {
 public:
  using Member = T;
  class LrIterator;
  class LrIteratorConst;

  ListRaw() noexcept = default;
  ListRaw(ListRaw const&) = delete;
  ListRaw& operator=(ListRaw const&) = delete;

  /// A walk over the list came to its end; the iterator stands behind the last member. Does nothing here.
  virtual void zonWalkEnded(LrIteratorConst const& it) const;
  /// REQUIRES: the list is empty (checked in debug builds): a member left behind would link to nowhere.
  virtual ~ListRaw();

  bool empty() const noexcept { return head_ == nullptr; }
  T* head() const noexcept { return static_cast<T*>(head_); }
  T* tail() const noexcept { return static_cast<T*>(tail_); }
  std::uint32_t count() const noexcept { return count_; }
  std::uint32_t zonModCount() const noexcept { return modCount_; }

  /// REQUIRES: the member is in no list.
  void append(T* member) noexcept;
  /// Takes the member out; false, and nothing changed, when it is not in this list.
  bool unlink(PtrInterface const* member) noexcept;
  /// Takes every member out and clears its link; the members themselves hear nothing of it.
  void deleteAll() noexcept;

 private:
  std::uint32_t modCount_ = 0;
  std::uint32_t count_ = 0;
  PtrInterface* head_ = nullptr;
  PtrInterface* tail_ = nullptr;
};

/// A plain walk. REQUIRES: the list does not change meanwhile.
template <class T>
class ListRaw<T>::LrIteratorConst {
 public:
  /// Stands behind the last member.
  LrIteratorConst() noexcept = default;
  explicit LrIteratorConst(ListRaw const& list) noexcept : member_(list.head_) {}

  explicit operator bool() const noexcept { return member_ != nullptr; }
  T const* ptr() const noexcept { return static_cast<T const*>(member_); }
  T const* operator->() const noexcept { return ptr(); }
  T const& operator*() const noexcept { return *ptr(); }
  /// REQUIRES: the iterator stands on a member.
  LrIteratorConst& operator++() noexcept {
    member_ = ListRawLink<T>::next(member_);
    return *this;
  }

 protected:
  PtrInterface* member_ = nullptr;
};

/// The same walk with mutable members.
template <class T>
class ListRaw<T>::LrIterator : public LrIteratorConst {
 public:
  explicit LrIterator(ListRaw const& list) noexcept : LrIteratorConst(list) {}

  T* ptr() const noexcept { return static_cast<T*>(this->member_); }
  T* operator->() const noexcept { return ptr(); }
  T& operator*() const noexcept { return *ptr(); }
  LrIterator& operator++() noexcept {
    LrIteratorConst::operator++();
    return *this;
  }
};

template <class T>
void ListRaw<T>::zonWalkEnded(LrIteratorConst const&) const {}

template <class T>
ListRaw<T>::~ListRaw() {
#ifndef NDEBUG
  require(head_ == nullptr, "head_ == nullptr", "Zon/ListRaw", __LINE__, "~ListRaw");
#endif
}

template <class T>
void ListRaw<T>::append(T* member) noexcept {
  ListRawLink<T>::nextIs(member, nullptr);
  if (tail_ == nullptr) {
    head_ = member;
  } else {
    ListRawLink<T>::nextIs(tail_, member);
  }
  tail_ = member;
  ++modCount_;
  ++count_;
}

template <class T>
bool ListRaw<T>::unlink(PtrInterface const* member) noexcept {
  PtrInterface* before = nullptr;
  PtrInterface* at = head_;
  while (at != member) {
    if (at == nullptr) return false;
    before = at;
    at = ListRawLink<T>::next(at);
  }
  if (at == nullptr) return false;
  PtrInterface* const next = ListRawLink<T>::next(at);
  if (before == nullptr) {
    head_ = next;
  } else {
    ListRawLink<T>::nextIs(before, next);
  }
  if (tail_ == at) tail_ = before;
  ListRawLink<T>::nextIs(at, nullptr);
  ++modCount_;
  --count_;
  return true;
}

template <class T>
void ListRaw<T>::deleteAll() noexcept {
  Ptr<PtrInterface> member(head_);
  head_ = nullptr;
  tail_ = nullptr;
  while (member) {
    // Held before the way to it is cut and the member before it is let go.
    Ptr<PtrInterface> next(ListRawLink<T>::next(member.ptr()));
    ListRawLink<T>::nextIs(member.ptr(), nullptr);
    ++modCount_;
    --count_;
    member = std::move(next);
  }
}

}  // namespace Zon
