#pragma once

/// \file
/// The kernel's links as interfaces of the device, and the enforcement of its decisions on them.
///
/// Guarantees
///   A  An interface is configured by `IFF_UP` (up: enabled, down: disabled) and is active unless its operational state is
///      not-present or lower-layer-down. A renamed link is another interface; a reused name is one too.
///   B  With a switch, a link that is up while an errdisable entry disables its interface is set down, and it is *held*;
///      a held link is set up again when its entry goes. Nothing else is ever touched.
///   C  While a link is held, being down is no administrative act. Set up by somebody else it is set down again.
///   D  The kernel's answers to our own acts are recognised, however late they come: they are nobody else's acts. After an
///      overrun nothing is judged by facts from before it.
///
/// Use
///
///     VaroHost::LiveLinks links(device, &linkSwitch, events);
///     VaroHost::LinkMonitor monitor(loop, links);

#include <deque>
#include <map>
#include <string>

#include "host/Device.h"
#include "host/InterfaceList.h"
#include "host/LinkMessages.h"
#include "host/LinkSwitch.h"

namespace VaroHost {

class LiveLinks final : public LinkMessages::Listener {
 public:
  /// What the links tell of.
  class Events {
   public:
    /// The device may have changed.
    virtual void changed() = 0;
    /// Links came, went or were renamed.
    virtual void note(std::string const& text) = 0;
    /// A link was set down or up, by us or against us.
    virtual void enforced(std::string const& text) = 0;
    virtual void failed(std::string const& text) = 0;
    /// An interface came. Its name is no other's; a link that changes its name goes first.
    virtual void interfaceIs(std::string const& name, LinkFacts const& facts) = 0;
    virtual void interfaceDel(LinkFacts const& facts) = 0;
    virtual void synchronized() = 0;

   protected:
    ~Events() = default;
  };

  /// \param linkSwitch null to leave the machine alone
  LiveLinks(Device& device, LinkSwitch* linkSwitch, Events& events);

  void onLink(Link const& link) override;
  void onLinkGone(int index) override;
  void onOverrun() override;
  void onSynchronized() override;

  /// Makes the errdisabled list what the map says: name to reason.
  void errdisabledIs(std::map<std::string, std::string> const& entries);
  /// Sets up whatever is held; from then on the machine is left alone.
  void releaseAll();
  /// Whether the kernel has yet to tell of one of our acts, or of all links anew.
  bool awaitsNews() const;

  LinkFacts const* facts(Zon::String8 const& name) const;

 private:
  struct Entry {
    std::string name;  ///< empty while another link has taken its name
    LinkFacts facts;
    bool isHeld = false;
    /// Our own acts whose echo has not come yet: up or down.
    std::deque<bool> expected;
    /// Messages were lost since the link was told.
    bool isStale = false;
    std::string lastError;
  };

  void nameIs(Entry& entry, Link const& link);
  void forget(Entry& entry);
  void update(Entry& entry, bool isForeign);
  void review(Entry& entry);
  void review(std::string const& name);
  bool act(Entry& entry, bool up);

  Device& device_;
  LinkSwitch* const switch_;
  Events& events_;
  std::map<int, Entry> links_;
  std::map<std::string, int, std::less<>> byName_;
  bool isSynchronized_ = false;
  bool isResynchronizing_ = false;
  bool isReleased_ = false;
};

}  // namespace VaroHost
