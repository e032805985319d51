#include "host/CounterTable.h"

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>

#include "host/Text.h"

namespace VaroHost {

namespace {

constexpr std::string_view objectTitle = "Object";
constexpr std::string_view blockTitle = "Block";
constexpr std::string_view valueTitle = "Value";
/// One monstrous name must not push the values of all others away.
constexpr std::size_t nameWidthMax = 60;

std::size_t nameWidth(std::string const& name) { return std::min(displayWidth(printable(name)), nameWidthMax); }

std::string padded(std::string text, std::size_t width) {
  std::size_t const taken = displayWidth(text);
  text.append(width > taken ? width - taken : 0, ' ');
  return text;
}

}  // namespace

CounterTable::CounterTable(CounterList const& list)
  : list_(list), objectWidth_(objectTitle.size()), blockWidth_(blockTitle.size()), valueWidth_(valueTitle.size()) {
  for (CounterObject const* const object : list_.shown()) {
    blocks_ += object->blocks().size();
    rows_ += object->rows().size();
    std::uint64_t largest = 0;
    for (std::uint32_t const row : object->rows()) {
      auto const& block = object->blocks()[row];
      blockWidth_ = std::max(blockWidth_, nameWidth(block.name));
      largest = std::max(largest, block.value);
    }
    objectWidth_ = std::max(objectWidth_, nameWidth(object->name()));
    valueWidth_ = std::max(valueWidth_, fmt::formatted_size("{}", largest));
  }
}

void CounterTable::print(Output& out) const {
  constexpr std::size_t all = std::numeric_limits<std::size_t>::max();
  print(out, {all, all});
}

void CounterTable::print(Output& out, Output::Size size) const {
  // The header, an empty line, the summary, and perhaps the line that tells of the others.
  constexpr std::size_t frame = 4;
  std::size_t const room = std::max(size.lines, frame + 1) - frame;
  auto const line = [&](std::string_view object, std::string_view block, std::string_view value) {
    std::string const text = fmt::format("{}  {}  {:>{}}", padded(std::string(object), objectWidth_),
                                         padded(std::string(block), blockWidth_), value, valueWidth_);
    out.print("{}\n", displayWidth(text) <= size.columns ? text : excerpt(text, size.columns));
  };
  std::size_t printed = 0;
  line(objectTitle, blockTitle, valueTitle);
  for (CounterObject const* const object : list_.shown()) {
    std::string const name = printable(object->name());
    for (std::uint32_t const row : object->rows()) {
      if (out.ended() || ++printed > room) {
        break;
      }
      auto const& block = object->blocks()[row];
      line(name, printable(block.name), fmt::format_int(block.value).c_str());
    }
  }
  if (rows_ > room) {
    out.print("... and {} more\n", rows_ - room);
  }
  printSummary(out);
}

void CounterTable::printSummary(Output& out) const {
  std::size_t const objects = list_.shown().size();
  out.print("\n{} object{}, ", objects, plural(objects));
  if (rows_ != blocks_) {
    out.print("{} of ", rows_);
  }
  out.print("{} block{}\n", blocks_, plural(blocks_));
}

}  // namespace VaroHost
