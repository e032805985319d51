#pragma once

/// \file
/// `Zon::IntrospectionReactor`: listens to modules describing their types and fills the type nodes.
///
/// Guarantees
///   A  Scopes nest: a type opened while another is open gets its own scope, and the outer one resumes behind
///      `handleScopeExit()`. A type opened inside another is also one of that one's nested types.
///   B  Describing a type again adds nothing.
///
/// REQUIRES: every scope that is opened is closed (asserted); the loader's thread.
///
/// Use: a module's introspection routine, written once in Zon/TypeSlot.cpp.

#include <vector>

#include "Zon/ZonAttr.h"
#include "Zon/ZonType.h"

namespace Zon {

class IntrospectionReactor : public PtrInterface {
 public:
  /// The process's introspection reactor.
  static IntrospectionReactor& global();

  void handleNameSpace(char const* name);
  /// Opens a type. A base other than `Zon::PtrInterface` learns of it as a derived type.
  void handleType(Ptr<ZonType const> const& type, Ptr<ZonType const> const& base);
  /// Defines an attribute that creates no instance.
  /// \param keyType the type of the attribute's key, null for one without
  void defNoninstantiatingAttr(Ptr<ZonType> const& owner, Name name, Ptr<ZonType> const& attributeType,
                               Ptr<ZonType> const& keyType, ZonAttr::AttrFlags const& flags,
                               ZonAttr::ZonAttrIntrospectionFlags introspectionFlags, AttributeId id);
  /// Gives an attribute to the open type and opens the attribute's own context.
  void handleAttr(Ptr<ZonAttr> const& attribute);
  void handleAttrContextExit();
  /// Closes the innermost open type or namespace.
  void handleScopeExit();

  /// The innermost open type, null when there is none; for tests.
  Ptr<ZonType const> openType() const;
  /// Scopes open now; for tests.
  std::size_t openScopes() const noexcept { return scopes_.size(); }

 private:
  // One per open namespace (without type) or type.
  struct Scope {
    ZonType* type = nullptr;
    bool attributeOpen = false;
  };

  ZonType* open() const noexcept;

  std::vector<Scope> scopes_;
};

}  // namespace Zon
