#pragma once

/// \file
/// Every interface the device knows, by configuration or by status, in natural order, as one view each for output.
///
/// Guarantees
///   A  Each interface once, whatever directories it stands in; the order is that of `NaturalOrder`.
///   B  Views are made on demand: a list of a million interfaces holds a million names, no more.
///
/// Use
///
///     VaroHost::InterfaceList interfaces(device);
///     for (std::size_t at = 0; at < interfaces.size(); ++at) show(interfaces.view(at));

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "host/Device.h"

namespace VaroHost {

/// What the kernel tells of an interface beyond the entities' attributes.
struct LinkFacts {
  int index = 0;
  bool isUp = false;
  /// `IF_OPER_*` of linux/if.h.
  std::uint8_t operState = 0;
  /// `ARPHRD_*` of linux/if_arp.h.
  std::uint16_t type = 0;
  std::uint32_t transmitQueues = 0;
};

/// The name of an operational state, as in RFC 8343.
std::string_view operStateName(std::uint8_t operState) noexcept;

/// Facts of an interface by name, null when there are none.
using LinkFactsOf = std::function<LinkFacts const*(Zon::String8 const& name)>;

struct InterfaceView {
  Zon::String8 name;
  Zon::Ptr<Interface::IntfConfig const> config;                        ///< null without configuration
  Zon::Ptr<Interface::IntfStatus const> status;                        ///< null without status
  Zon::Ptr<Errdisable::Status::ZonErrdisabledIntf const> errdisabled;  ///< null when not on the list
  LinkFacts const* link = nullptr;                                     ///< null outside the kernel

  /// The errdisabled list, and not the lack of activity, is what holds the interface down.
  bool isHeldByErrdisable() const noexcept;
};

class InterfaceList {
 public:
  explicit InterfaceList(Device const& device, LinkFactsOf facts = nullptr);

  std::size_t size() const noexcept { return names_.size(); }
  InterfaceView view(std::size_t at) const;
  /// Entries of the errdisabled list that no configuration answers to.
  std::size_t unconfiguredErrdisabled() const;
  bool hasLinks() const noexcept { return static_cast<bool>(facts_); }

 private:
  Device const& device_;
  LinkFactsOf facts_;
  std::vector<Zon::String8> names_;
};

}  // namespace VaroHost
