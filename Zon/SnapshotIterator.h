#pragma once

/// \file
/// `Zon::SnapshotIterator<ListRaw<T>>`: a walk over a copy of a list, for delivering to members that come and
/// go meanwhile.
///
/// Guarantees
///   A  It walks the members that the list had when the snapshot was taken, in their order; what the list does
///      afterwards does not matter.
///   B  Every member not yet passed is held by one reference; the one the iterator leaves is released at once, and
///      the snapshot has forgotten it before its destructor can run.
///   C  Up to `inlineCapacity` members it does not touch the heap; beyond, `NoRoom` says that there is no memory, and
///      whoever cannot give up walks a snapshot in room of his own.
///
/// Use
///
///     Zon::SnapshotIterator<Zon::ListRaw<Watcher>> it(watchers);
///     while (it) {
///       it->onChange();
///       ++it;
///       it.skipDropped();   // released unseen: whoever nobody but the snapshot holds any more
///     }

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "Zon/ListRaw.h"

namespace Zon {

template <class List>
class SnapshotIterator {
 public:
  using Member = typename List::Member;

  static constexpr std::uint32_t inlineCapacity = 16;

  /// No memory for the snapshot; nothing has happened.
  class NoRoom : public std::bad_alloc {};

  /// Copies the list and tells it when the copying walk is over. Throws `NoRoom`.
  explicit SnapshotIterator(List const& list) : elements_(inline_) {
    if (list.count() > inlineCapacity) [[unlikely]] {
      heap_.reset(new (std::nothrow) Member*[list.count()]);
      if (heap_ == nullptr) throw NoRoom();
      elements_ = heap_.get();
    }
    copy(list);
  }
  /// The same in `room`, which has space for all members and outlives the iterator.
  SnapshotIterator(List const& list, Member** room) : elements_(room) { copy(list); }
  SnapshotIterator(SnapshotIterator const&) = delete;
  SnapshotIterator& operator=(SnapshotIterator const&) = delete;
  ~SnapshotIterator() {
    while (*this)
      ++*this;
  }

  explicit operator bool() const noexcept { return elements_ != end_; }
  /// The element the iterator stands on, null at the end.
  Member* ptr() const noexcept { return *this ? *elements_ : nullptr; }
  Member* operator->() const noexcept { return *elements_; }
  Member& operator*() const noexcept { return **elements_; }

  /// Releases the element it leaves. REQUIRES: the iterator is not at the end.
  SnapshotIterator& operator++() noexcept {
    // Past it before the release: a destructor that runs now finds a snapshot without this element.
    Member* const left = *elements_++;
    decrement(left);
    return *this;
  }

  /// Moves on, releasing unseen, while the element is held by nobody but this snapshot.
  void skipDropped() noexcept {
    while (*this && (*elements_)->zonReferences() == 1)
      ++*this;
  }

 private:
  void copy(List const& list) {
    // By hand: an iterator whose address is handed out would not stay in a register.
    Member** end = elements_;
    for (PtrInterface* member = list.head(); member != nullptr; member = ListRawLink<Member>::next(member)) {
      increment(member);
      *end++ = static_cast<Member*>(member);
    }
    end_ = end;
    list.zonWalkEnded(typename List::LrIteratorConst());
  }

  // The references of [elements_, end_) are owned; what lies before was released.
  Member** elements_;
  Member** end_;
  std::unique_ptr<Member*[]> heap_;
  Member* inline_[inlineCapacity];
};

}  // namespace Zon
