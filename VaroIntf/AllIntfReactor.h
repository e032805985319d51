#pragma once

/// \file
/// `VaroIntf::AllIntfReactor`: mirrors the aggregate directory's configurations and statuses into the host's directories:
/// the same entities under the same interfaces, and nothing else.
///
/// Guarantees
///   A  The two halves are independent; a half without input or output does nothing, silently.
///   B  A whole mirroring first sets every entry of the input, then removes what the input does not have.
///   C  Single changes are mirrored at once, on any activity; nothing waits and no burst is lost.
///   D  A mirroring stops before its next entry when the reactor is gone or the input was replaced: an old input must not
///      overwrite a newer one. Callbacks therefore hold input and output, but not the reactor.
///   E  Entries stay in the outputs when the reactor dies.
///
/// Use: `Agent::allIntfReactorIs` makes and owns it.

#include "VaroIntf/MirrorInput.h"
#include "Zon/Reactor.h"

namespace VaroIntf {

class AllIntfReactor : public Zon::ReactorOf<AllIntfReactor> {
 public:
  class ZonConfigIn;
  class ZonStatusIn;

  /// Mirrors both halves before it returns. Any argument may be null.
  AllIntfReactor(Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::Ptr<Interface::AllIntfConfigDir> const& configOut,
                 Zon::Ptr<Interface::AllIntfStatusDir> const& statusOut,
                 Zon::Ptr<Interface::AllIntfConfigDir> const& configIn,
                 Zon::Ptr<Interface::AllIntfStatusDir> const& statusIn);
  ~AllIntfReactor() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<AllIntfReactor>;

  Zon::Ptr<Interface::AllIntfConfigDir> configOut() const noexcept { return configOut_; }
  Zon::Ptr<Interface::AllIntfStatusDir> statusOut() const noexcept { return statusOut_; }

  Zon::Ptr<Interface::AllIntfConfigDir> configIn() const;
  /// Another input on an existing watcher is mirrored; the first one on an empty slot is not.
  void configInIs(Zon::Ptr<Interface::AllIntfConfigDir> const& directory);
  Zon::Ptr<Interface::AllIntfConfigDir> configInDel();
  Zon::Ptr<ZonConfigIn> newConfigIn(Zon::Ptr<Interface::AllIntfConfigDir> const& directory);

  Zon::Ptr<Interface::AllIntfStatusDir> statusIn() const;
  void statusInIs(Zon::Ptr<Interface::AllIntfStatusDir> const& directory);
  Zon::Ptr<Interface::AllIntfStatusDir> statusInDel();
  Zon::Ptr<ZonStatusIn> newStatusIn(Zon::Ptr<Interface::AllIntfStatusDir> const& directory);

 private:
  friend Zon::ReactorOf<AllIntfReactor>;
  static constexpr auto zonInputs() { return std::tuple(&AllIntfReactor::configIn_, &AllIntfReactor::statusIn_); }

  template <class In, class Directory>
  Zon::Ptr<In> newMirror(Zon::Ptr<Directory> const& directory);

  Zon::Ptr<Interface::AllIntfConfigDir> const configOut_;
  Zon::Ptr<Interface::AllIntfStatusDir> const statusOut_;
  Zon::Ptr<ZonConfigIn> configIn_;
  Zon::Ptr<ZonStatusIn> statusIn_;
};

/// How a mirror reads and writes the configuration half.
struct ConfigMirror {
  using Directory = Interface::AllIntfConfigDir;
  static auto output(AllIntfReactor const& reactor) { return reactor.configOut(); }
  static auto entry(Directory& directory, Orvet::IntfId const& intfId) { return directory.intfConfig(intfId); }
  static auto iterator(Directory& directory) { return directory.intfConfigIterator(); }
  static void set(Directory& directory, Zon::Ptr<Interface::IntfConfig> const& e) { directory.intfConfigIs(e); }
  static void del(Directory& directory, Orvet::IntfId const& intfId) { directory.intfConfigDel(intfId); }
};

/// How a mirror reads and writes the status half.
struct StatusMirror {
  using Directory = Interface::AllIntfStatusDir;
  static auto output(AllIntfReactor const& reactor) { return reactor.statusOut(); }
  static auto entry(Directory& directory, Orvet::IntfId const& intfId) { return directory.intfStatus(intfId); }
  static auto iterator(Directory& directory) { return directory.intfStatusIterator(); }
  static void set(Directory& directory, Zon::Ptr<Interface::IntfStatus> const& e) { directory.intfStatusIs(e); }
  static void del(Directory& directory, Orvet::IntfId const& intfId) { directory.intfStatusDel(intfId); }
};

class AllIntfReactor::ZonConfigIn final : public MirrorInput<AllIntfReactor, ConfigMirror> {
 public:
  using MirrorInput::MirrorInput;
  void allIntfReactorIs(AllIntfReactor* owner) noexcept { zonOwnerIs(owner); }
  void onIntfConfig(Orvet::IntfId intfId) override { mirror(intfId); }
  void onIntfConfigzonImmediate() override { mirrorAll(); }
  using AllIntfConfigDirNotifieeConst = Interface::AllIntfConfigDir::NotifieeConst;
  using AllIntfConfigDirNotifieeConst::onIntfConfig;
};

class AllIntfReactor::ZonStatusIn final : public MirrorInput<AllIntfReactor, StatusMirror> {
 public:
  using MirrorInput::MirrorInput;
  void allIntfReactorIs(AllIntfReactor* owner) noexcept { zonOwnerIs(owner); }
  void onIntfStatus(Orvet::IntfId intfId) override { mirror(intfId); }
  void onIntfStatuszonImmediate() override { mirrorAll(); }
  using AllIntfStatusDirNotifieeConst = Interface::AllIntfStatusDir::NotifieeConst;
  using AllIntfStatusDirNotifieeConst::onIntfStatus;
};

}  // namespace VaroIntf
