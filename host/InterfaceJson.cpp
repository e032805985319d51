#include "host/InterfaceJson.h"

#include <string>

#include <net/if_arp.h>
#include <nlohmann/json.hpp>

#include "host/JsonText.h"

namespace VaroHost {

namespace {

using Json = nlohmann::ordered_json;

std::string_view typeName(std::uint16_t type) {
  switch (type) {
  case ARPHRD_ETHER:
    return "iana-if-type:ethernetCsmacd";
  case ARPHRD_LOOPBACK:
    return "iana-if-type:softwareLoopback";
  case ARPHRD_PPP:
    return "iana-if-type:ppp";
  case ARPHRD_TUNNEL:
  case ARPHRD_TUNNEL6:
  case ARPHRD_SIT:
  case ARPHRD_IPGRE:
    return "iana-if-type:tunnel";
  default:
    return "iana-if-type:other";
  }
}

Json describe(InterfaceView const& view) {
  Json json;
  json["name"] = view.name.stdString();
  if (view.link != nullptr) {
    json["type"] = typeName(view.link->type);
  }
  if (view.config) {
    json["enabled"] = view.config->adminEnabled();
  }
  if (view.link != nullptr) {
    json["admin-status"] = view.link->isUp ? "up" : "down";
    json["oper-status"] = operStateName(view.link->operState);
    json["if-index"] = view.link->index;
  }
  if (view.config) {
    json["varo:admin-enabled-state"] = name(view.config->adminEnabledStateLocal());
    if (view.config->defaultConfig() != nullptr) {
      json["varo:default-config"] = view.config->defaultConfig()->intfId().stringValue().stdString();
    }
    json["varo:enabled-state"] = name(view.config->enabledStateLocal());
    json["varo:enabled-state-reason"] = view.config->enabledStateReason().stdString();
  }
  if (view.status) {
    json["varo:active"] = view.status->active();
    json["varo:forwarding-model"] = view.status->forwardingModel();
  }
  if (view.errdisabled) {
    json["varo:errdisabled-reason"] = view.errdisabled->value().stdString();
  }
  return json;
}

}  // namespace

void InterfaceJson::print(Output& out) const {
  out.write("{\n  \"ietf-interfaces:interfaces\": {\n    \"interface\": [");
  for (std::size_t at = 0; at < interfaces_.size() && !out.ended(); ++at) {
    out.write(at == 0 ? "\n      " : ",\n      ");
    out.write(jsonText(describe(interfaces_.view(at))));
  }
  out.write(interfaces_.size() == 0 ? "]\n  }\n}\n" : "\n    ]\n  }\n}\n");
}

void InterfaceJson::printChange(Output& out, double time, StateFollower::Transition const& transition) {
  Json json;
  json["time"] = time;
  json["name"] = transition.intfId.stringValue().stdString();
  json["varo:enabled-state"] = name(transition.after.state);
  json["varo:enabled-state-reason"] = transition.after.reason.stdString();
  json["was"] = {{"varo:enabled-state", name(transition.before.state)},
                 {"varo:enabled-state-reason", transition.before.reason.stdString()}};
  out.write(jsonText(Json{{"varo:change", json}}));
  out.write("\n");
}

}  // namespace VaroHost
