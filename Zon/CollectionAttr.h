#pragma once

/// \file
/// Keyed collections in attribute tables. Include Zon/AttrTable.h, which says how a table is written and shows one.
///
/// Guarantees: those of Zon/GenericIf.h; an iterator keeps the owner of the collection alive.

#include "Zon/AttrSpec.h"
#include "Zon/HashMap.h"
#include "Zon/ParameterList.h"

namespace Zon {

/// The place of keys in every collection of that key type.
template <class K>
bool keyBefore(K const& a, K const& b) {
  std::uint32_t const hashOfA = bitReverse(HashMapKey<K>::hash(a));
  std::uint32_t const hashOfB = bitReverse(HashMapKey<K>::hash(b));
  return hashOfA < hashOfB || (hashOfA == hashOfB && HashMapKey<K>::less(a, b));
}

/// What a collection shows of its members: their interfaces, or the values of its entries.
enum class Shows { members, values };

template <Shows shows, class P>
Ptr<GenericIf> showMember(P const& member, bool isConst) {
  if (!member) {
    return {};
  }
  if constexpr (shows == Shows::values) {
    return valueOf(std::remove_cvref_t<decltype(member->value())>(member->value()));
  } else {
    return interfaceOf(member, isConst);
  }
}

template <Shows shows, class C, class It, class Removed>
class CollectionIterator final : public GenericIfIterator {
 public:
  using Remover = Removed (C::*)(It&);

  CollectionIterator(Ptr<C> owner, It at, Remover remover, bool isConst)
    : owner_(std::move(owner)), at_(std::move(at)), remover_(remover), isConst_(isConst) {}

  bool isConst() const override { return isConst_; }
  bool nonNull() const override { return static_cast<bool>(at_); }
  Ptr<GenericIf> object() const override {
    if (!nonNull()) {
      return {};
    }
    if constexpr (shows == Shows::values) {
      return valueOf(at_.value());
    } else {
      return interfaceOf(at_.ptr(), isConst_);
    }
  }
  Ptr<GenericIf> key() const override {
    return nonNull() ? valueOf(std::remove_cvref_t<decltype(at_.key())>(at_.key())) : Ptr<GenericIf>();
  }
  void advance() override { at_.advance(); }
  Ptr<GenericIf> del() override {
    refuseModification(AttributeOp::del);
    return nonNull() ? showMember<shows>((owner_.ptr()->*remover_)(at_), false) : Ptr<GenericIf>();
  }
  Ptr<GenericIf> clone() const override { return newPtr<CollectionIterator>(owner_, at_, remover_, isConst_); }

 private:
  Ptr<C> const owner_;
  It at_;
  Remover const remover_;
  bool const isConst_;
};

/// A collection of class C with iterator It: read, created and removed by key, walked.
template <Shows shows, class C, class It, class Found, class FoundKey, class Created, class Removed, class RemovedKey,
          class... P>
class CollectionAttr final : public AttrSpec {
 public:
  using Key = std::remove_cvref_t<RemovedKey>;
  struct Members {
    Found (C::*get)(FoundKey) const;
    Created (C::*set)(P...);
    Removed (C::*del)(RemovedKey);
    Removed (C::*delAt)(It&);
    void (C::*delAll)();
    It (C::*iterator)();
  };

  constexpr CollectionAttr(char const* name, AttributeId id, ZonType* (*memberType)(), ParameterList<P...> parameters,
                           Members members) noexcept
    : AttrSpec(name, id), memberType_(memberType), parameters_(parameters), members_(members) {}

  unsigned flags() const noexcept override { return 32; }
  bool isInstantiating() const noexcept override { return true; }
  ZonType* attributeType() const override { return memberType_(); }
  ZonType* keyType() const override { return typeNodeOf<Key>(); }
  bool keyFits(unsigned opId, GenericIf const* key) const override {
    if (opId == Op::get || opId == Op::del) {
      return elementFits<Key>(key);
    }
    return key == nullptr || (!offers(opId) && elementFits<Key>(key));
  }
  bool offers(unsigned opId) const noexcept override {
    return opId == Op::get || opId == Op::set || opId == Op::del || opId == Op::delAll || opId == Op::iterate ||
           opId == Op::size;
  }

  Ptr<GenericIf> perform(AttrCall const& call) const override {
    switch (call.opId) {
    case Op::set:
      return parameters_.apply(listArgument(call.value), name(), [&](auto const&... arguments) {
        if constexpr (std::is_void_v<Created>) {
          (mutableObject<C>(call).*members_.set)(arguments...);
          return Ptr<GenericIf>();
        } else {
          return interfaceOf((mutableObject<C>(call).*members_.set)(arguments...), call.isConst);
        }
      });
    case Op::del:
      return showMember<shows>((mutableObject<C>(call).*members_.del)(elementValue<Key>(call.key)), call.isConst);
    case Op::delAll:
      (mutableObject<C>(call).*members_.delAll)();
      return {};
    case Op::iterate:
      return iterator(Ptr<PtrInterface const>(call.object), call.isConst, nullptr);
    case Op::size: {
      std::uint32_t members = 0;
      for (It at = begin(call.object); at; at.advance()) {
        ++members;
      }
      return valueOf(members);
    }
    default: {
      auto const found = (constObject<C>(call).*members_.get)(elementValue<Key>(call.key));
      using Member = std::remove_const_t<typename IsPtr<std::remove_cvref_t<Found>>::Object>;
      // The look-up of const objects serves both; a member of an object that may be changed may be changed too.
      return showMember<shows>(Ptr<Member>(const_cast<Member*>(found.ptr())), call.isConst);
    }
    }
  }

  Ptr<GenericIf> iterator(Ptr<PtrInterface const> const& object, bool isConst, GenericIf const* from) const override {
    It at = begin(object.ptr());
    if (from != nullptr) {
      Key const key = elementValue<Key>(from);
      while (at && keyBefore<Key>(at.key(), key)) {
        at.advance();
      }
    }
    Ptr<C> const owner(const_cast<C*>(static_cast<C const*>(object.ptr())));
    return newPtr<CollectionIterator<shows, C, It, Removed>>(owner, std::move(at), members_.delAt, isConst);
  }

 private:
  // A walk changes nothing by itself: the iterator knows whether it may.
  It begin(PtrInterface const* object) const {
    return (const_cast<C*>(static_cast<C const*>(object))->*members_.iterator)();
  }

  ZonType* (*memberType_)();
  ParameterList<P...> parameters_;
  Members members_;
};

/// The type of keys that an iterator shows.
template <class It>
using IteratorKey = std::remove_cvref_t<decltype(std::declval<It const&>().key())>;

// Removal by key takes it by value or by reference; the rest follows from the members.

template <Shows shows, class It, class RemovedKey, class C, class Found, class FoundKey, class Created, class Removed,
          class... P, std::size_t n>
constexpr auto makeCollectionAttr(char const* name, AttributeId id, ZonType* (*memberType)(), ParameterNames<n> names,
                                  Found (C::*get)(FoundKey) const, Created (C::*set)(P...),
                                  Removed (C::*del)(RemovedKey), Removed (C::*delAt)(It&), void (C::*delAll)(),
                                  It (C::*iterator)()) noexcept {
  static_assert(sizeof...(P) == n, "a name for every parameter");
  static_assert(std::is_same_v<std::remove_cvref_t<FoundKey>, std::remove_cvref_t<RemovedKey>>, "one type of key");
  using Attr = CollectionAttr<shows, C, It, Found, FoundKey, Created, Removed, RemovedKey, P...>;
  return Attr(name, id, memberType, ParameterList<P...>(names), {get, set, del, delAt, delAll, iterator});
}

/// A collection of members: children, or entities that a directory lists or owns.
template <class It, class C, class Found, class FoundKey, class Created, class X, class... P, std::size_t n>
constexpr auto collectionAttr(char const* name, AttributeId id, ParameterNames<n> names,
                              Found (C::*get)(FoundKey) const, Created (C::*set)(P...),
                              Ptr<X> (C::*del)(IteratorKey<It> const&), Ptr<X> (C::*delAt)(It&), void (C::*delAll)(),
                              It (C::*iterator)()) noexcept {
  return makeCollectionAttr<Shows::members, It, IteratorKey<It> const&>(name, id, &typeNodeOf<Ptr<X>>, names, get, set,
                                                                        del, delAt, delAll, iterator);
}
template <class It, class C, class Found, class FoundKey, class Created, class X, class... P, std::size_t n>
constexpr auto collectionAttr(char const* name, AttributeId id, ParameterNames<n> names,
                              Found (C::*get)(FoundKey) const, Created (C::*set)(P...),
                              Ptr<X> (C::*del)(IteratorKey<It>), Ptr<X> (C::*delAt)(It&), void (C::*delAll)(),
                              It (C::*iterator)()) noexcept {
  return makeCollectionAttr<Shows::members, It, IteratorKey<It>>(name, id, &typeNodeOf<Ptr<X>>, names, get, set, del,
                                                                 delAt, delAll, iterator);
}

/// A collection of values in entries.
template <class It, class C, class Found, class FoundKey, class Created, class X, class... P, std::size_t n>
constexpr auto valueCollectionAttr(char const* name, AttributeId id, ParameterNames<n> names,
                                   Found (C::*get)(FoundKey) const, Created (C::*set)(P...),
                                   Ptr<X> (C::*del)(IteratorKey<It>), Ptr<X> (C::*delAt)(It&), void (C::*delAll)(),
                                   It (C::*iterator)()) noexcept {
  return makeCollectionAttr<Shows::values, It, IteratorKey<It>>(name, id, &typeNodeOf<typename X::ZonValue>, names, get,
                                                                set, del, delAt, delAll, iterator);
}

}  // namespace Zon
