#pragma once

/// \file
/// `Zon::LinkedQueue`, a queue that hands elements out in the order they came in, and `Zon::LinkQueue`, its
/// sibling with access by index. The reflection layer keeps its argument lists and its attribute tables in
/// them.
///
/// Guarantees
///   A  Elements stay in the order of their appending; the addresses of links never change.
///   B  A copy of a queue is independent of the original, the held values are copied.
///   C  Removing the element an iterator stands on leaves that iterator on the next element, and its following `++`
///      stays there: a loop that removes while it walks skips nothing.
///   D  Releasing a queue does not recurse, however long it is.
///
/// Not supported: removing an element while another iterator stands on it.
///
/// Use
///
///     class ZonItem : public Zon::QueueLink<ZonItem, Zon::Ptr<Item>> { using QueueLink::QueueLink; };
///     Zon::LinkedQueue<ZonItem, Item, Zon::Ptr<Item>> queue;
///     queue.append(item);
///     for (auto it = queue.iterator(); it; ++it) {
///       if (it->isStale()) queue.del(it);
///     }

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace Zon {

template <class Link, class T, class Held>
class LinkedQueue;

/// Base of a queue's link class: the held value and the way to the next link.
template <class Link, class Held>
class QueueLink {
 public:
  explicit QueueLink(Held held) : held_(std::move(held)) {}

  Held const& held() const noexcept { return held_; }
  /// Null at the end of the queue.
  Link* next() const noexcept { return next_; }

 private:
  template <class L, class T, class H>
  friend class LinkedQueue;

  Held held_;
  Link* next_ = nullptr;
};

/// A queue of `Held` values (counted pointers to `T`), each in a `Link` of its own.
template <class Link, class T, class Held>
class LinkedQueue {
 public:
  class Iterator;

  LinkedQueue() noexcept = default;
  // Delegates, so that a copy that fails half-way is released.
  LinkedQueue(LinkedQueue const& other) : LinkedQueue() {
    for (Link const* link = other.head_; link != nullptr; link = link->next())
      append(link->held());
  }
  LinkedQueue(LinkedQueue&& other) noexcept { swap(other); }
  LinkedQueue& operator=(LinkedQueue other) noexcept {
    swap(other);
    return *this;
  }
  ~LinkedQueue() { clear(); }

  void swap(LinkedQueue& other) noexcept {
    std::swap(head_, other.head_);
    std::swap(tail_, other.tail_);
    std::swap(size_, other.size_);
  }

  std::size_t size() const noexcept { return size_; }
  bool empty() const noexcept { return head_ == nullptr; }
  Link* head() const noexcept { return head_; }
  /// An iterator on the first element.
  Iterator iterator() const noexcept { return Iterator(head_); }

  void append(Held held) {
    auto* const link = new Link(std::move(held));
    (tail_ == nullptr ? head_ : tail_->next_) = link;
    tail_ = link;
    ++size_;
  }

  /// Removes the element under the iterator and returns it. The iterator moves on and is told that it did.
  /// REQUIRES: the iterator stands on an element of this queue.
  Held del(Iterator& it) {
    Link* before = nullptr;
    Link* link = head_;
    while (link != it.link_)
      before = std::exchange(link, link->next_);
    (before == nullptr ? head_ : before->next_) = link->next_;
    if (tail_ == link) tail_ = before;
    --size_;
    it.link_ = link->next_;
    it.alreadyAdvanced_ = true;
    Held held = std::move(link->held_);
    delete link;
    return held;
  }

  void clear() noexcept {
    tail_ = nullptr;
    size_ = 0;
    // Detached first: releasing an element may come back to this queue.
    for (Link* link = std::exchange(head_, nullptr); link != nullptr;) {
      delete std::exchange(link, link->next_);
    }
  }

 private:
  Link* head_ = nullptr;
  Link* tail_ = nullptr;
  std::size_t size_ = 0;
};

template <class Link, class T, class Held>
class LinkedQueue<Link, T, Held>::Iterator {
 public:
  Iterator() noexcept = default;
  explicit Iterator(Link* link) noexcept : link_(link) {}

  explicit operator bool() const noexcept { return link_ != nullptr; }
  /// The held value. REQUIRES: the iterator stands on an element.
  Held const& ptr() const noexcept { return link_->held(); }
  T* operator->() const noexcept { return &*link_->held(); }
  T& operator*() const noexcept { return *link_->held(); }

  /// At the end it stays there.
  Iterator& operator++() noexcept {
    if (alreadyAdvanced_) {
      alreadyAdvanced_ = false;
    } else if (link_ != nullptr) {
      link_ = link_->next();
    }
    return *this;
  }

 private:
  friend class LinkedQueue;

  Link* link_ = nullptr;
  bool alreadyAdvanced_ = false;
};

/// A queue of `Link` objects that are found by their index, counted from 0 in the order of appending.
template <class Link, class Index>
class LinkQueue {
 public:
  Index size() const noexcept { return static_cast<Index>(links_.size()); }
  bool empty() const noexcept { return links_.empty(); }

  /// Makes a link of the arguments at the end and returns its index.
  template <class... Args>
  Index append(Args&&... args) {
    links_.push_back(std::make_unique<Link>(std::forward<Args>(args)...));
    return static_cast<Index>(links_.size() - 1);
  }

  /// The link of that index, null past the end.
  Link* link(Index index) const noexcept {
    return static_cast<std::size_t>(index) < links_.size() ? links_[static_cast<std::size_t>(index)].get() : nullptr;
  }

 private:
  // Links apart from the array: their addresses survive growth.
  std::vector<std::unique_ptr<Link>> links_;
};

}  // namespace Zon
