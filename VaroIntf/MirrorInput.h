#pragma once

/// \file
/// One half of the all-interfaces mirror: an input directory whose entries appear in the reactor's output directory. Both
/// halves are this template; a `Half` says how its directories are read and written.
///
/// Guarantees
///   A  A keyed change brings that entry of the output in line; another directory, or the immediate notification, the
///      whole output: what the input does not list leaves it.
///   B  Without input or output nothing is changed.
/// REQUIRES: an input built directly is dropped before its reactor.
///
/// Use
///
///     class AllIntfReactor::ZonConfigIn final : public MirrorInput<AllIntfReactor, ConfigMirror> {
///       void onIntfConfig(Orvet::IntfId intfId) override { mirror(intfId); }
///     };

#include "Zon/Input.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfStatusDir.h"

namespace VaroIntf {

template <class Owner, class Half>
class MirrorInput : public Zon::DirectInput<Owner, typename Half::Directory::Notifiee> {
 public:
  using Directory = typename Half::Directory;
  using Zon::DirectInput<Owner, typename Directory::Notifiee>::DirectInput;

  void notifierIs(Zon::Ptr<Zon::PtrInterface const> const& notifier) override {
    this->zonRebind(notifier, [this] { mirrorAll(); });
  }

  /// Brings the whole output in line with the input.
  void mirrorAll() {
    Zon::Ptr<Zon::PtrInterface> const self(this);
    Zon::Ptr<Directory> const in = this->notifier();
    Zon::Ptr<Directory> const out = output();
    if (!in || !out) {
      return;
    }
    // Watchers of the output may drop the reactor or replace the input at every entry.
    auto const goesOn = [&] { return this->zonOwner() != nullptr && this->notifier() == in; };
    for (auto entry = Half::iterator(*in); entry && goesOn(); entry.advance()) {
      Half::set(*out, entry.ptr());
    }
    for (auto entry = Half::iterator(*out); entry && goesOn(); entry.advance()) {
      if (!Half::entry(*in, entry.key())) {
        Half::del(*out, entry.key());
      }
    }
  }

 protected:
  /// Brings one interface's entry in line with the input. What is written is held, the rest is not touched any more by
  /// then.
  void mirror(Orvet::IntfId const& intfId) {
    Directory* const in = this->zonTypedNotifier();
    Zon::Ptr<Directory> const out = output();
    if (in == nullptr || !out) {
      return;
    }
    if (auto const entry = Half::entry(*in, intfId)) {
      Half::set(*out, entry);
    } else {
      Half::del(*out, intfId);
    }
  }

 private:
  Zon::Ptr<Directory> output() const {
    Owner const* const owner = this->zonOwner();
    return owner != nullptr ? Half::output(*owner) : Zon::Ptr<Directory>();
  }
};

}  // namespace VaroIntf
