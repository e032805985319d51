#include "host/CounterJson.h"

#include <string>
#include <string_view>

#include "host/JsonText.h"

namespace VaroHost {

void CounterJson::print(CounterList const& list) {
  out_.write("{\n  \"varo:counters\": {\n    \"object\": [");
  std::string_view objectSeparator = "\n";
  for (CounterObject const* const object : list.shown()) {
    if (!object->fault().empty()) {
      continue;
    }
    out_.print("{}      {{\"name\": {}, \"block\": [", objectSeparator, jsonText(object->name()));
    objectSeparator = ",\n";
    std::string_view blockSeparator = "\n";
    for (std::uint32_t const row : object->rows()) {
      if (out_.ended()) {
        return;
      }
      auto const& block = object->blocks()[row];
      out_.print("{}        {{\"name\": {}, \"value\": {}}}", blockSeparator, jsonText(block.name), block.value);
      blockSeparator = ",\n";
    }
    out_.write(object->rows().empty() ? "]}" : "\n      ]}");
  }
  out_.write(objectSeparator == "\n" ? "]\n  }\n}\n" : "\n    ]\n  }\n}\n");
}

void CounterJson::printValue(ClockTime time, CounterObject const& object, CounterObject::Block const& block) {
  out_.print("{{\"varo:counter\": {{\"time\": {}, \"object\": {}, \"block\": {}, \"value\": {}}}}}\n",
             jsonText(time.seconds()), jsonText(object.name()), jsonText(block.name), block.value);
}

void CounterJson::printObject(ClockTime time, std::string const& name, bool isThere) {
  out_.print("{{\"varo:object\": {{\"time\": {}, \"name\": {}, \"present\": {}}}}}\n", jsonText(time.seconds()),
             jsonText(name), isThere);
}

}  // namespace VaroHost
