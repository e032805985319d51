#include "host/NaturalOrder.h"

#include <algorithm>
#include <cstddef>

namespace VaroHost {

namespace {

bool isDigit(char byte) noexcept { return byte >= '0' && byte <= '9'; }

/// Takes the run of digits at the front, without its leading zeros.
std::string_view takeNumber(std::string_view& text) noexcept {
  std::size_t length = 0;
  while (length < text.size() && isDigit(text[length])) {
    ++length;
  }
  std::string_view number = text.substr(0, length);
  text.remove_prefix(length);
  number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
  return number;
}

std::strong_ordering compareNumbers(std::string_view a, std::string_view b) noexcept {
  auto const bySize = a.size() <=> b.size();
  return bySize != 0 ? bySize : a <=> b;
}

}  // namespace

std::strong_ordering NaturalOrder::compare(std::string_view a, std::string_view b) noexcept {
  std::string_view restA = a;
  std::string_view restB = b;
  while (!restA.empty() && !restB.empty()) {
    if (isDigit(restA[0]) && isDigit(restB[0])) {
      std::string_view const numberA = takeNumber(restA);
      std::string_view const numberB = takeNumber(restB);
      if (auto const order = compareNumbers(numberA, numberB); order != 0) {
        return order;
      }
      continue;
    }
    if (restA[0] != restB[0]) {
      return static_cast<unsigned char>(restA[0]) <=> static_cast<unsigned char>(restB[0]);
    }
    restA.remove_prefix(1);
    restB.remove_prefix(1);
  }
  if (auto const order = restA.size() <=> restB.size(); order != 0) {
    return order;
  }
  // Equal but for leading zeros.
  return a <=> b;
}

}  // namespace VaroHost
