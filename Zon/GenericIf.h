#pragma once

/// \file
/// Reflective access: `Zon::GenericIf`, the interface through which attributes are read, set and called by id or name,
/// its values and argument lists. The interfaces of objects are in Zon/GenericIfPtrInterface.h, those of values and
/// references in Zon/GenericIfValue.h; this header includes both.
///
/// Guarantees
///   A  Refusals come in a fixed order: a modification through a const interface, an object that is null, a key where
///      none belongs or of a wrong type, an operation the attribute does not offer, a value or argument. Nothing is
///      changed before the last test passed.
///   B  No text is parsed and no number converted: a value has exactly the wanted type. A derived object passes for
///      its base, a mutable one for a const one, never the other way.
///   C  Lists are positional and never consumed.
///   D  Children and members read through a const interface have const interfaces; references keep the constness they
///      were declared with.
///   E  An interface keeps its object alive.
///
/// Use
///
///     auto root = type->genericIf(object);
///     root->attributeOpByName("allIntfSM", GenericIf::AttributeOp::set, {}, GenericIf::listOf({activity, a, b, c}));
///     for (auto it = root->attributeIterator(133); root->attributeIterator_nonNull(it);
///          root->attributeIterator_iterInc(it)) { ... }

#include <initializer_list>

#include "Zon/Exception.h"
#include "Zon/LinkedQueue.h"
#include "Zon/Ptr.h"
#include "Zon/PtrInterface.h"

namespace Zon {

class GenericIf : public PtrInterface {
 public:
  class AttributeOp;
  class List;
  class List_;

  ~GenericIf() override;

  /// True for an interface made for a const instance.
  virtual bool isConst() const { return false; }

  /// Performs one operation on the attribute of that id, which must not be 0.
  /// Returns the value, member, iterator, removed object or created child; null for none.
  virtual Ptr<GenericIf> attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& key = {},
                                     Ptr<GenericIf> const& value = {});
  /// The same by name; reaches the attributes that share id 0, too.
  virtual Ptr<GenericIf> attributeOpByName(String8 name, unsigned opId, Ptr<GenericIf const> const& key = {},
                                           Ptr<GenericIf> const& value = {});
  /// "unknown" for an id without attribute.
  virtual String8 attributeString(AttributeId id) const;
  /// -1 for an unknown name.
  virtual AttributeId attributeId(String8 name) const;

  // Walks over collections. The iterator is itself an interface and keeps the collection's owner alive.

  /// Stands on the first member. Through a const interface it is a const one.
  virtual Ptr<GenericIf> attributeIterator(AttributeId id);
  virtual Ptr<GenericIf> attributeIteratorConst(AttributeId id) const;
  /// Stands on the first member at or behind the key.
  virtual Ptr<GenericIf> attributeIteratorKey(AttributeId id, Ptr<GenericIf const> const& key);
  // Of an iterator. Errors: type exception "iterator" for what is none.
  /// The member, or the value in a collection of values; null at the end.
  Ptr<GenericIf> attributeIterator_iterObj(Ptr<GenericIf> const& iterator) const;
  Ptr<GenericIf> attributeIterator_iterKey(Ptr<GenericIf> const& iterator) const;
  void attributeIterator_iterInc(Ptr<GenericIf> const& iterator) const;
  /// Removes and returns the member, which stays the current one; null at the end and for one that left before.
  Ptr<GenericIf> attributeIterator_iterDel(Ptr<GenericIf> const& iterator);
  bool attributeIterator_nonNull(Ptr<GenericIf> const& iterator) const;
  Ptr<GenericIf> attributeIterator_iterClone(Ptr<GenericIf> const& iterator) const;

  /// A list of these elements, as an argument.
  static Ptr<GenericIf> listOf(std::initializer_list<Ptr<GenericIf>> elements);

  [[noreturn]] static void throwConstException(String8 text);
  [[noreturn]] static void throwTypeException(String8 text);
  [[noreturn]] static void throwUnknownArgException(String8 text);
  [[noreturn]] static void throwBadIndexAttrException(String8 text);
  [[noreturn]] static void throwOpNotSupportedException(String8 attribute, unsigned opId, bool flag);

 protected:
  GenericIf() noexcept = default;

  /// The first of all refusals: a modification through a const interface. Errors: const exception.
  void refuseModification(unsigned opId) const;
};

/// Which attribute and what to do with it.
class GenericIf::AttributeOp {
 public:
  /// 128 to 255 modify.
  enum OpId : unsigned { get = 1, iterate = 2, size = 3, set = 128, del = 129, delAll = 130, call = 131 };

  static constexpr bool modifies(unsigned opId) noexcept { return opId >= 128 && opId <= 255; }

  constexpr AttributeOp(AttributeId attributeId, unsigned opId) noexcept
    : attributeId_(attributeId), opId_(static_cast<OpId>(opId)) {}

  constexpr AttributeId attributeId() const noexcept { return attributeId_; }
  constexpr OpId opId() const noexcept { return opId_; }

 private:
  AttributeId attributeId_;
  OpId opId_;
};

/// A queue of arguments.
class GenericIf::List : public PtrInterface {
 public:
  class ZonGenericIf : public QueueLink<ZonGenericIf, Ptr<GenericIf>> {
   public:
    using QueueLink::QueueLink;
  };
  using Queue = LinkedQueue<ZonGenericIf, GenericIf, Ptr<GenericIf>>;

  List() noexcept = default;
  ~List() override;

  /// A null element stands for a missing argument.
  void append(Ptr<GenericIf> const& element) { queue_.append(element); }
  Queue const& queue() const noexcept { return queue_; }
  std::size_t size() const noexcept { return queue_.size(); }

 private:
  Queue queue_;
};

/// A list as an argument.
class GenericIf::List_ : public GenericIf {
 public:
  explicit List_(Ptr<List> list) noexcept : list_(std::move(list)) {}
  ~List_() override;

  Ptr<List> const& list() const noexcept { return list_; }

 private:
  Ptr<List> list_;
};

/// An iterator over a collection attribute, as an interface.
class GenericIfIterator : public GenericIf {
 public:
  ~GenericIfIterator() override;

  virtual bool nonNull() const = 0;
  virtual Ptr<GenericIf> object() const = 0;
  virtual Ptr<GenericIf> key() const = 0;
  virtual void advance() = 0;
  virtual Ptr<GenericIf> del() = 0;
  virtual Ptr<GenericIf> clone() const = 0;
};

}  // namespace Zon

#include "Zon/GenericIfPtrInterface.h"
#include "Zon/GenericIfValue.h"
