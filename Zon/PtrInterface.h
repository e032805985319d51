#pragma once

/// \file
/// `Zon::PtrInterface`, the base of every counted object, and `PtrInterface::NotifieeConst`, the base of every watcher.
///
/// Guarantees of the count word (a single 32-bit word beside the virtual table)
///   A  An object is born with a count of one, which its creator adopts (`newPtr`): a temporary `Ptr` to `this` in a
///      constructor is harmless, and a watcher may live in automatic storage.
///   B  Bit 31 (zombie) and bit 29 (notification active) are flags, never part of the count; bit 30 is part of it and
///      pins an object that is being destroyed, so that temporaries taken meanwhile cannot destroy it twice.
///   C  `decrement` hands an object whose count became zero to `handleZeroRef()` exactly once.
///   D  Nondestructing objects (top byte 0x1f, flags aside) never reach a zero count.
///
/// Guarantees of a watcher
///   E  Its notifier is held by a counted reference unless `zon_bitSetIs(zonUncountedNotifier)` asked otherwise; being
///      watched keeps nothing alive in the other direction.
///   F  It waits in at most one activity's queue; the queue holds no reference, and a dying watcher leaves it first.
///
/// Use
///
///     class Counter final : public Zon::PtrInterface { ... };
///     Zon::Ptr<Counter> counter = Zon::newPtr<Counter>();

#include <atomic>
#include <cstdint>

#include "Zon/String8.h"
#include "Zon/VFPtrInterface.h"

namespace Zon {

template <class T>
class Ptr;
class ActivityConfig;
class ActivitySm;
class PtrInterface;
class ZonType;
template <class X>
class TableGenericIf;
template <class T>
class WatcherList;

/// Names an attribute in the numbering of its type; -1 and -2 are the dispatch values "several attributes" and
/// "everything changed".
using AttributeId = std::int32_t;

inline constexpr AttributeId severalAttributes = -1;
inline constexpr AttributeId everythingChanged = -2;
inline constexpr AttributeId zeroReferencesId = 5;
inline constexpr AttributeId isNondestructingId = 6;

/// How a watcher holds its notifier.
enum Zon_BitSet : std::uint32_t { zonCountedNotifier = 0, zonUncountedNotifier = 1 };

void increment(PtrInterface const* object) noexcept;
std::uint32_t decrement(PtrInterface const* object) noexcept;

class PtrInterface : public VFPtrInterface {
 public:
  class NotifieeConst;

  static constexpr std::uint32_t zonZombieBit = 0x80000000U;
  static constexpr std::uint32_t zonPinnedBit = 0x40000000U;
  static constexpr std::uint32_t zonActiveBit = 0x20000000U;
  static constexpr std::uint32_t zonCountMask = 0x5fffffffU;
  static constexpr std::uint32_t zonNondestructingBits = 0x1f000000U;
  /// The count without the pin of guarantee B.
  static constexpr std::uint32_t zonReferenceMask = zonActiveBit - 1;

  PtrInterface(PtrInterface const&) = delete;
  PtrInterface& operator=(PtrInterface const&) = delete;

  // The virtual operations every object has, in their fixed slot order.

  /// Switches the delivery of notifications to (or through) this object on or off.
  virtual void hasNotificationActiveIs(bool active);
  /// Number of errors an audit of this object finds; 0 unless a class audits itself.
  virtual std::uint32_t zonAuditErrors(unsigned options) const;
  virtual std::uint32_t auditErrors(unsigned options) const;
  /// A nondestructing object survives the loss of its last reference. Switching it off on an object nobody holds
  /// destroys the object.
  virtual void isNondestructingIs(bool nondestructing);
  /// Told when the last reference went; whoever takes one now keeps the object.
  virtual void zeroReferencesIs(bool zeroReferences);
  /// The immortal type node of the dynamic type.
  virtual ZonType* fwkType() const;
  virtual ~PtrInterface();

  static ZonType* _fwkType();
  /// The class of every type node, under each type's own scope.
  using _Type = ZonType;  // NOLINT(bugprone-reserved-identifier): the fixed name

  // The count word. The setter is for white-box tests.
  std::uint32_t zonWord() const noexcept { return word_.load(std::memory_order_relaxed); }
  void zonWordIs(std::uint32_t word) const noexcept { word_.store(word, std::memory_order_relaxed); }

  bool hasNotificationActive() const noexcept { return (zonWord() & zonActiveBit) != 0; }
  bool zonMarkedForDeletion() const noexcept { return (zonWord() & zonZombieBit) != 0; }
  void zonMarkedForDeletionIs(bool zombie) noexcept { zonFlagIs(zonZombieBit, zombie); }
  /// True when the object is nondestructing, whatever its flags are.
  bool isNondestructing() const noexcept { return (zonWord() & zonNondestructingBits) == zonNondestructingBits; }
  /// References held, the pin of a dying object not counted.
  std::uint32_t zonReferences() const noexcept { return zonWord() & zonReferenceMask; }

  /// Decides the fate of an object whose count became zero: kept when nondestructing or when somebody takes a
  /// reference in answer to `zeroReferencesIs(true)`, destroyed otherwise. Lets no exception out.
  void handleZeroRef() const noexcept;

 protected:
  PtrInterface() noexcept : word_(1) {}

  void zonFlagIs(std::uint32_t bits, bool set) const noexcept;

 private:
  friend void increment(PtrInterface const* object) noexcept;
  friend std::uint32_t decrement(PtrInterface const* object) noexcept;

  /// Plain counting: a relaxed load and a relaxed store. On x86 one instruction does both, but g++ makes three of the
  /// pair. clang folds it by itself, and its sanitizers have to see the accesses.
  void zonPlainAdd(std::uint32_t difference) const noexcept {
#if defined(__x86_64__) && !defined(__clang__)
    __asm__("addl %1, %0" : "+m"(word_) : "ri"(difference) : "cc");
#else
    zonWordIs(zonWord() + difference);
#endif
  }

  // The locked forms, out of line: they would only be in the way of the plain ones.
  void zonLockedIncrement() const noexcept;
  std::uint32_t zonLockedDecrement() const noexcept;

  // One atomic object: "plain" counting is a relaxed load and store, "locked" an atomic read-modify-write.
  mutable std::atomic<std::uint32_t> word_;
};

/// REQUIRES: `object` is not null.
inline void increment(PtrInterface const* object) noexcept {
  if (VFPtrInterface::enableThreadSafePointers) [[unlikely]] {
    object->zonLockedIncrement();
  } else {
    object->zonPlainAdd(1);
  }
}

/// Drops one reference and returns the count that is left.
/// REQUIRES: `object` is not null and the caller owns a reference.
inline std::uint32_t decrement(PtrInterface const* object) noexcept {
  if (VFPtrInterface::enableThreadSafePointers) [[unlikely]] {
    return object->zonLockedDecrement();
  }
  object->zonPlainAdd(-1U);
  std::uint32_t const count = object->zonWord() & PtrInterface::zonCountMask;
  if (count == 0) [[unlikely]] {
    object->handleZeroRef();
  }
  return count;
}

class PtrInterface::NotifieeConst : public PtrInterface {
 public:
  ~NotifieeConst() override;

  // The virtual operations every watcher adds, in their fixed slot order.

  virtual Ptr<PtrInterface> zonReactor() const;
  virtual PtrInterface* zonRawReactor() const;
  virtual bool isStreamAdapter() const;
  /// Puts the watcher into its notifier's list or takes it out; without a notifier only the wish is recorded.
  virtual void isRegisteredNotifieeIs(bool registered) const;
  /// Chooses whether the notifier is held by a counted reference; a bound notifier is taken or given back at once.
  virtual void zon_bitSetIs(Zon_BitSet bits);
  /// The notifier's name, empty without one.
  virtual Name name() const;
  /// Binds the watcher to another notifier; an object of a type it cannot watch counts as null.
  virtual void notifierIs(Ptr<PtrInterface const> const& notifier);
  /// Delivers what is pending; called by the activity's dispatch.
  virtual void handleNotification(ActivityConfig* activity);
  /// Delivers what a more specific class left over. A leaf: it never dispatches or queues.
  virtual void handleDefault(ActivityConfig* activity, AttributeId id, bool callNotification);
  virtual void onAttribute(AttributeId id);
  virtual void onNotification();
  virtual void onCollectionNotification(String8 key);
  virtual void onNotificationException();
  virtual void onNotificationException(AttributeId id);
  virtual void handleNotificationException(AttributeId id);
  virtual void handleNotificationException();
  virtual void onZeroReferences();
  virtual Ptr<ActivityConfig> activityPtr() const;
  virtual Ptr<ActivityConfig> zonFwkActivity();
  virtual Ptr<ActivityConfig> zonFwkActivity() const;
  virtual Ptr<ActivitySm> actsm();

  bool isRegisteredNotifiee() const noexcept { return registered_; }

  // Pending notification: filled by the gate, consumed by `handleNotification`; public for tests.
  AttributeId zonPendingId() const noexcept { return pendingId_; }
  void zonPendingIdIs(AttributeId id) noexcept { pendingId_ = id; }

  /// The gate's question: is a change of attribute `id` deferred to the activity? Records it and answers true, or
  /// answers false when the handler is to run now: no activity, an immediate one, or the redelivery itself.
  /// \param pendingCount address of this watcher's 32-bit pending count, null for a single value.
  bool zonOnAttribute(AttributeId id, unsigned char* pendingCount);
  /// The same question for "everything changed"; only gated inputs defer it.
  bool zonOnEverything();

  /// Marks the callback that `handleNotification` makes, so that its gate lets exactly this one through.
  class ZonRedelivery {
   public:
    ZonRedelivery(NotifieeConst* notifiee, AttributeId id) noexcept : notifiee_(notifiee) {
      notifiee->redeliveryId_ = id;
    }
    ~ZonRedelivery() { notifiee_->redeliveryId_ = 0; }
    ZonRedelivery(ZonRedelivery const&) = delete;
    ZonRedelivery& operator=(ZonRedelivery const&) = delete;

   private:
    NotifieeConst* notifiee_;
  };

  // The link of the notifier's intrusive list of watchers.
  NotifieeConst* zonNextNotifiee() const noexcept { return nextNotifiee_; }
  void zonNextNotifieeIs(NotifieeConst* next) const noexcept { nextNotifiee_ = next; }

 protected:
  NotifieeConst() noexcept = default;

  PtrInterface const* zonRawNotifier() const noexcept { return notifier_; }
  /// Exchanges the notifier, counts included; null allowed. The lists are the typed class's business.
  void zonRawNotifierIs(PtrInterface const* notifier) noexcept;
  void zonRegisteredFlagIs(bool registered) const noexcept { registered_ = registered; }
  /// Moves a queued watcher to the tail of another activity's queue; when that is null or immediate, what is pending
  /// is delivered at once.
  void zonRequeue(ActivitySm* activity);
  /// Takes the watcher out of whatever queue it waits in. What is pending stays recorded.
  void zonLeaveQueue() noexcept;
  /// Records a change of attribute `id` (and counts it in `pendingCount`, if given) for the next dispatch of `activity`.
  /// REQUIRES: the activity defers.
  void zonDefer(ActivitySm& activity, AttributeId id, unsigned char* pendingCount) noexcept;
  /// Consumes the mark of a redelivery of attribute `id`; false when there is none.
  bool zonTakeRedelivery(AttributeId id) noexcept {
    if (redeliveryId_ != id || id == 0) {
      return false;
    }
    redeliveryId_ = 0;
    return true;
  }
  bool zonIsQueued() const noexcept { return queue_ != nullptr; }
  /// Declares a watcher whose callbacks ask the gate.
  void zonGatedIs(bool gated) noexcept { gated_ = gated; }
  /// Declares a pending count, so that the dispatch can clear it when it does not call this watcher.
  /// REQUIRES: `count` is a member of this object; at most two are declared.
  void zonPendingCountAt(std::uint32_t& count) noexcept;

 private:
  friend class ActivitySm;
  template <class T>
  friend class WatcherList;

  void mergePending(AttributeId id) noexcept;
  void clearPending() noexcept;

  AttributeId pendingId_ = 0;
  PtrInterface const* notifier_ = nullptr;
  mutable NotifieeConst* nextNotifiee_ = nullptr;
  ActivitySm* queue_ = nullptr;
  NotifieeConst* queuePrevious_ = nullptr;
  NotifieeConst* queueNext_ = nullptr;
  AttributeId redeliveryId_ = 0;
  // Where this object's pending counts lie, as offsets from `this`; 0 is none.
  std::uint16_t countOffsets_[2] = {0, 0};
  mutable bool registered_ = false;
  bool uncounted_ = false;
  bool gated_ = false;
};

}  // namespace Zon

#include "Zon/Ptr.h"
