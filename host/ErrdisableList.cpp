#include "host/ErrdisableList.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "host/Text.h"

namespace VaroHost {

namespace {

bool isBlank(char byte) noexcept { return byte == ' ' || byte == '\t'; }

using Fault = std::optional<std::pair<std::size_t, std::string>>;

/// The first byte that has no place in a line of text, and why.
Fault findForeign(std::string_view line) {
  std::size_t const invalid = findInvalidUtf8(line);
  auto const control = std::find_if(line.begin(), line.end(), [](char byte) {
    auto const code = static_cast<unsigned char>(byte);
    return (code < 0x20 && byte != '\t') || code == 0x7f;
  });
  auto const at = static_cast<std::size_t>(control - line.begin());
  if (at < std::min(invalid, line.size())) {
    return {{at + 1, fmt::format("control character {}", printable(line.substr(at, 1)))}};
  }
  if (invalid != std::string_view::npos) {
    return {{invalid + 1, fmt::format("byte {} is not UTF-8", printable(line.substr(invalid, 1)))}};
  }
  return std::nullopt;
}

Fault readLine(std::string_view line, std::map<std::string, std::string>& entries) {
  if (line.starts_with('#')) {
    return std::nullopt;
  }
  // Nobody sees one in front of a name, wherever in the file it stands.
  if (line.starts_with("\xef\xbb\xbf")) {
    return {{1, "a byte-order mark has no place here"}};
  }
  if (auto foreign = findForeign(line)) {
    return foreign;
  }
  while (!line.empty() && isBlank(line.back())) {
    line.remove_suffix(1);
  }
  if (line.empty()) {
    return std::nullopt;
  }
  if (isBlank(line.front())) {
    return {{1, "the line begins with a blank; write interface, blank, reason"}};
  }
  auto const nameEnd = static_cast<std::size_t>(std::find_if(line.begin(), line.end(), isBlank) - line.begin());
  auto const reasonBegin = static_cast<std::size_t>(
      std::find_if_not(line.begin() + static_cast<std::ptrdiff_t>(nameEnd), line.end(), isBlank) - line.begin());
  std::string_view const name = line.substr(0, nameEnd);
  std::string_view const reason = line.substr(reasonBegin);
  if (name.size() > ErrdisableList::maxNameBytes) {
    return {
        {1, fmt::format("the name has {} bytes, at most {} are allowed", name.size(), ErrdisableList::maxNameBytes)}};
  }
  if (reason.empty()) {
    return {{line.size() + 1, fmt::format("no reason after \"{}\"", excerpt(name))}};
  }
  if (reason.size() > ErrdisableList::maxReasonBytes) {
    return {{reasonBegin + 1, fmt::format("the reason has {} bytes, at most {} are allowed", reason.size(),
                                          ErrdisableList::maxReasonBytes)}};
  }
  if (!entries.try_emplace(std::string(name), reason).second) {
    return {{1, fmt::format("\"{}\" stands twice", excerpt(name))}};
  }
  return std::nullopt;
}

}  // namespace

ErrdisableList ErrdisableList::parse(std::string_view text) {
  ErrdisableList list;
  for (std::size_t number = 1; !text.empty() && !list.hasMoreBadLines; ++number) {
    std::size_t const end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) {
      line.remove_suffix(1);
    }
    auto fault = readLine(line, list.entries);
    if (!fault) {
      continue;
    }
    if (list.complaints.size() == maxComplaints) {
      list.hasMoreBadLines = true;
    } else {
      list.complaints.push_back({number, fault->first, std::move(fault->second)});
    }
  }
  if (!list.complaints.empty()) {
    list.entries.clear();
  }
  return list;
}

}  // namespace VaroHost
