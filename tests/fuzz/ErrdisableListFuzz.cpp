// The errdisabled list as a file: any bytes, what was read written and read again, and given to the links.

#include <set>
#include <string>

#include "Fuzz.h"
#include "Links.h"
#include "host/ErrdisableList.h"
#include "host/Text.h"

using Fuzz::require;
using VaroHost::ErrdisableList;

namespace {

void checkComplaints(ErrdisableList const& list, std::string_view text) {
  require(list.complaints.size() <= ErrdisableList::maxComplaints, "complaints end");
  require(!list.hasMoreBadLines || list.complaints.size() == ErrdisableList::maxComplaints, "first some are told");
  require(list.complaints.empty() || list.entries.empty(), "a text is taken whole or not at all");
  auto const lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  std::size_t last = 0;
  for (auto const& complaint : list.complaints) {
    require(complaint.line > last && complaint.line <= lines, "complaints come in order of their lines");
    last = complaint.line;
    std::string_view line = text;
    for (std::size_t number = 1; number < complaint.line; ++number)
      line.remove_prefix(line.find('\n') + 1);
    line = line.substr(0, line.find('\n'));
    require(complaint.column >= 1 && complaint.column <= line.size() + 1, "a complaint is about a place in its line");
    require(VaroHost::findInvalidUtf8(complaint.reason) == std::string::npos, "a complaint can be shown");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string_view const text = Fuzz::Input(data, size).rest();
  auto const list = ErrdisableList::parse(text);
  checkComplaints(list, text);

  std::string written;
  for (auto const& [name, reason] : list.entries) {
    require(!name.empty() && name.size() <= ErrdisableList::maxNameBytes, "a name is within its limits");
    require(!reason.empty() && reason.size() <= ErrdisableList::maxReasonBytes, "a reason is within its limits");
    written += name + "\t " + reason + " \r\n";
  }
  auto const again = ErrdisableList::parse(written);
  require(again.complaints.empty() && again.entries == list.entries, "what was written reads as the same");

  Fuzz::Links links;
  links.start({"Ethernet1", "lo"});
  links.links.errdisabledIs({{"Ethernet1", "old"}, {"gone", "old"}});
  links.links.errdisabledIs(list.entries);
  links.checkErrdisabled(list.entries);
  return 0;
}
