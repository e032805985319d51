#include "host/DeviceState.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/Text.h"

namespace VaroHost {

namespace {

/// Sorts the keys of its objects.
using Json = nlohmann::json;

/// Any bytes as UTF-8; no two give the same.
std::string encoded(std::string_view bytes) {
  std::string text;
  while (!bytes.empty()) {
    auto const character = Utf8Character::first(bytes);
    if (!character) {
      fmt::format_to(std::back_inserter(text), "\\x{:02x}", static_cast<unsigned char>(bytes[0]));
    } else if (character->code == '\\') {
      text += "\\\\";
    } else {
      text += bytes.substr(0, character->length);
    }
    bytes.remove_prefix(character ? character->length : 1);
  }
  return text;
}
std::string encoded(Zon::String8 const& text) { return encoded(text.view()); }
std::string encoded(Orvet::IntfId const& intfId) { return encoded(intfId.stringValue()); }

template <class Entries>
void sortByKey(Entries& entries) {
  std::sort(entries.begin(), entries.end(), [](auto const& a, auto const& b) { return a.first < b.first; });
}

/// What `take` makes of every entry of a walk, under the encoded keys, sorted by them.
template <class Iterator, class Take>
auto sorted(Iterator at, Take const& take) {
  std::vector<std::pair<std::string, decltype(take(at))>> entries;
  for (; at; at.advance()) {
    entries.emplace_back(encoded(at.key()), take(at));
  }
  sortByKey(entries);
  return entries;
}

auto const pointer = [](auto const& at) { return at.ptr(); };

Json describe(Interface::IntfConfig const& config) {
  auto const& defaultConfig = config.defaultConfig();
  return {{"adminEnabledStateLocal", name(config.adminEnabledStateLocal())},
          {"defaultConfig", defaultConfig ? Json(encoded(defaultConfig->intfId())) : Json()},
          {"enabledStateLocal", name(config.enabledStateLocal())},
          {"enabledStateReason", encoded(config.enabledStateReason())}};
}

Json describe(Interface::IntfStatus const& status) {
  Json inputs = Json::object();
  for (auto at = status.forwardingModelInputsIteratorConst(); at; at.advance()) {
    inputs[encoded(at.key())] = at.value();
  }
  return {{"active", status.active()},
          {"forwardingModel", status.forwardingModel()},
          {"forwardingModelInputs", std::move(inputs)}};
}

}  // namespace

/// Objects within objects, a member a line.
class DeviceState::Writer {
 public:
  explicit Writer(Output& out) : out_(out) { begin(); }

  void open(std::string const& key) {
    name(key);
    begin();
  }
  void close() {
    --depth_;
    if (!isEmpty_) {
      newLine();
    }
    out_.write("}");
    isEmpty_ = false;
  }
  void member(std::string const& key, Json const& value) {
    name(key);
    out_.write(value.dump());
  }
  template <class Entries, class Describe>
  void object(std::string const& key, Entries const& entries, Describe const& describe) {
    open(key);
    for (auto const& [name, entry] : entries) {
      member(name, describe(entry));
    }
    close();
  }

 private:
  void begin() {
    out_.write("{");
    isEmpty_ = true;
    ++depth_;
  }
  void name(std::string const& key) {
    if (!isEmpty_) {
      out_.write(",");
    }
    newLine();
    isEmpty_ = false;
    out_.write(Json(key).dump());
    out_.write(": ");
  }
  void newLine() { out_.print("\n{:{}}", "", 2 * depth_); }

  Output& out_;
  std::size_t depth_ = 0;
  bool isEmpty_ = true;
};

void DeviceState::print(Output& out) const {
  QueueCounters const& counters = device_.queueCounters();
  auto const text = [](auto const& value) { return Json(encoded(value)); };
  // Where the mirror has the producers' own entity there is nothing more to say of it.
  auto const mirrored = [](auto const& entry, auto const& original) {
    return entry == original ? Json("aggregate") : describe(*entry);
  };

  // In the order of the keys.
  Writer writer(out);
  printAggregate(writer);
  writer.open("counterBlocks");
  printBlocks(writer, "counterShmemMan", counters.interfaceBlocks());
  printBlocks(writer, "statisticsShmemMan", counters.queueBlocks());
  writer.close();
  std::vector<std::pair<std::string, Zon::Ptr<Interface::IntfConfig>>> defaults;
  for (auto const& [name, config] : device_.defaultConfigs()) {
    defaults.emplace_back(encoded(std::string_view(name)), config);
  }
  sortByKey(defaults);
  writer.object("defaultConfig", defaults, [](auto const& config) {
    return Json{{"adminEnabledStateLocal", name(config->adminEnabledStateLocal())}};
  });
  writer.object("errdisabledIntf",
                sorted(device_.errdisable()->errdisabledIntfIteratorConst(), [](auto const& at) { return at.value(); }),
                text);
  writer.object("intfConfig", sorted(device_.configs()->intfConfigIteratorConst(), pointer), [&](auto const& config) {
    return mirrored(config, device_.configsIn()->intfConfig(config->intfId()));
  });
  writer.object("intfQueueCounterDir", sorted(counters.output()->intfQueueCounterDirIteratorConst(), pointer),
                [&](auto const& directory) {
                  auto const slice = directory->parent();
                  return slice ? text(slice->name()) : Json();
                });
  writer.object("intfStatus", sorted(device_.statuses()->intfStatusIteratorConst(), pointer), [&](auto const& status) {
    return mirrored(status, device_.statusesIn()->intfStatus(status->intfId()));
  });
  printSlices(writer);
  writer.member(formatKey, format);
  writer.close();
  out.write("\n");
}

void DeviceState::printBlocks(Writer& writer, char const* key, Zon::Ptr<Pelto::ShmemMan const> const& blocks) {
  writer.open(key);
  if (blocks) {
    for (auto const& [name, block] : sorted(blocks->counterBlockIterator(), pointer)) {
      writer.member(name, block->size());
    }
  }
  writer.close();
}

void DeviceState::printAggregate(Writer& writer) const {
  auto const described = [](auto const& entity) { return describe(*entity); };
  writer.open("aggregate");
  writer.object("intfConfig", sorted(device_.configsIn()->intfConfigIteratorConst(), pointer), described);
  writer.object("intfStatus", sorted(device_.statusesIn()->intfStatusIteratorConst(), pointer), described);
  writer.close();
}

void DeviceState::printSlices(Writer& writer) const {
  writer.open("slice");
  for (auto const& [name, slice] : sorted(device_.queueCounters().slices()->subdirIterator(), pointer)) {
    auto const counters = Zon::ptrCast<QueueCounters::Slice>(slice);
    writer.object(name, sorted(counters->intfQueueCounterDirIteratorConst(), pointer), [](auto const& directory) {
      Json names = Json::object();
      for (auto at = directory->intfQueueCounterIteratorConst(); at; at.advance()) {
        names[encoded(at.key())] = Json::object();
      }
      return names;
    });
  }
  writer.close();
}

}  // namespace VaroHost
