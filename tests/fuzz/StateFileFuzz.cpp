// State files: any bytes read, what was read written and read again, and two of them compared.
//
// An input is two texts with a form feed between them.

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "Fuzz.h"
#include "MemoryFile.h"
#include "host/Output.h"
#include "host/StateDiff.h"
#include "host/StateFile.h"
#include "host/Text.h"
#include "host/Trouble.h"

using Fuzz::require;
using nlohmann::json;

namespace {

std::optional<json> read(std::string_view text) {
  try {
    json const state = VaroHost::StateFile::parse(text, "state");
    require(VaroHost::StateFile::parse(state.dump(), "state") == state, "what was written reads as the same");
    return state;
  } catch (VaroHost::Trouble const& trouble) {
    require(VaroHost::findInvalidUtf8(trouble.what()) == std::string::npos, "a refusal can be shown");
    return std::nullopt;
  }
}

std::string difference(json const& before, json const& after, bool isJson) {
  Fuzz::MemoryFile const file;
  bool isSame = false;
  {
    VaroHost::Output out(file.descriptor());
    isSame = VaroHost::StateDiff(out, isJson).print(before, after);
  }
  std::string const text = file.bytes();
  require(isSame == text.empty(), "what differs is told, and nothing else");
  require(VaroHost::findInvalidUtf8(text) == std::string::npos, "what differs can be shown");
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Fuzz::Input input(data, size);
  auto const before = read(input.until('\f'));
  auto const after = read(input.rest());
  if (!before || !after) return 0;
  require(difference(*before, *before, false).empty(), "a state does not differ from itself");
  std::string const told = difference(*before, *after, false);
  require(told.empty() == (*before == *after), "states differ when something is told");
  std::string const documents = difference(*before, *after, true);
  for (std::string_view rest = documents; !rest.empty();) {
    std::size_t const end = rest.find('\n');
    require(end != std::string_view::npos && json::accept(rest.substr(0, end)), "each line is a document");
    rest.remove_prefix(end + 1);
  }
  return 0;
}
