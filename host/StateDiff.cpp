#include "host/StateDiff.h"

#include <algorithm>
#include <cctype>

#include "host/Text.h"

namespace VaroHost {

using Json = nlohmann::json;

namespace {

bool isWord(std::string_view key) noexcept {
  return !key.empty() && std::all_of(key.begin(), key.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_';
  });
}

std::string quoted(std::string const& text) { return '"' + printable(text) + '"'; }

std::string shown(Json const& value) {
  return value.is_string() ? quoted(value.get_ref<std::string const&>()) : value.dump();
}

}  // namespace

bool StateDiff::print(Json const& before, Json const& after) {
  isSame_ = true;
  compare(before, after);
  return isSame_;
}

void StateDiff::compare(Json const& before, Json const& after) {
  if (before.is_object() != after.is_object()) {
    printLeaves(before, true);
    printLeaves(after, false);
    return;
  }
  if (!before.is_object()) {
    if (before != after) {
      printDifference(&before, &after);
    }
    return;
  }
  auto left = before.begin();
  auto right = after.begin();
  while (left != before.end() || right != after.end()) {
    bool const hasLeft = left != before.end() && (right == after.end() || left.key() <= right.key());
    bool const hasRight = right != after.end() && (left == before.end() || right.key() <= left.key());
    keys_.push_back(hasLeft ? &left.key() : &right.key());
    if (hasLeft && hasRight) {
      compare(*left, *right);
    } else {
      printLeaves(hasLeft ? *left : *right, hasLeft);
    }
    keys_.pop_back();
    left = hasLeft ? std::next(left) : left;
    right = hasRight ? std::next(right) : right;
  }
}

void StateDiff::printLeaves(Json const& value, bool isBefore) {
  if (!value.is_object() || value.empty()) {
    printDifference(isBefore ? &value : nullptr, isBefore ? nullptr : &value);
    return;
  }
  for (auto member = value.begin(); member != value.end(); ++member) {
    keys_.push_back(&member.key());
    printLeaves(*member, isBefore);
    keys_.pop_back();
  }
}

void StateDiff::printDifference(Json const* before, Json const* after) {
  isSame_ = false;
  if (isJson_) {
    Json line = {{"path", Json::array()}};
    for (std::string const* const key : keys_) {
      line["path"].push_back(*key);
    }
    if (before != nullptr) {
      line["before"] = *before;
    }
    if (after != nullptr) {
      line["after"] = *after;
    }
    out_.write(line.dump());
    out_.write("\n");
  } else if (before == nullptr) {
    out_.print("+ {}: {}\n", path(), shown(*after));
  } else if (after == nullptr) {
    out_.print("- {}: {}\n", path(), shown(*before));
  } else {
    out_.print("~ {}: {} -> {}\n", path(), shown(*before), shown(*after));
  }
}

std::string StateDiff::path() const {
  std::string text;
  for (std::string const* const key : keys_) {
    if (!isWord(*key)) {
      text += '[' + quoted(*key) + ']';
    } else {
      text += (text.empty() ? "" : ".") + *key;
    }
  }
  return text;
}

}  // namespace VaroHost
