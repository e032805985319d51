#include "host/ChangeReader.h"

#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/JsonText.h"
#include "host/Schema.h"
#include "host/Text.h"

namespace VaroHost {

namespace {

/// Walks a line and shows from outside how far the parser has come, since its events carry no position.
class Cursor {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = char const*;
  using reference = char const&;

  Cursor(char const* at, char const** shared) noexcept : at_(at), shared_(shared) {}

  char const& operator*() const noexcept { return *at_; }
  Cursor& operator++() noexcept {
    *shared_ = ++at_;
    return *this;
  }
  Cursor operator++(int) noexcept {
    Cursor const old = *this;
    ++*this;
    return old;
  }
  Cursor& operator+=(difference_type distance) noexcept {
    *shared_ = at_ += distance;
    return *this;
  }
  friend bool operator==(Cursor const& a, Cursor const& b) noexcept { return a.at_ == b.at_; }

 private:
  char const* at_;
  char const** shared_;
};

/// A member's value as it stands in the line.
struct Raw {
  enum class Kind : std::uint8_t { absent, null, boolean, integer, real, text, list };

  Kind kind = Kind::absent;
  bool boolean = false;
  bool negative = false;
  /// The magnitude of an integer.
  std::uint64_t magnitude = 0;
  double real = 0;
  std::string text;
  std::uint32_t column = 0;

  std::string_view kindName() const noexcept {
    static constexpr std::string_view names[] = {"nothing",  "null",     "true or false", "a number",
                                                 "a number", "a string", "a list"};
    return names[static_cast<std::size_t>(kind)];
  }
};

[[noreturn]] void fail(std::size_t column, std::string const& reason) { throw LineError(column, reason); }

std::string inQuotes(std::string_view text) { return fmt::format("\"{}\"", excerpt(text)); }

void checkName(std::string_view text, std::string_view what, std::size_t column) {
  if (text.empty()) {
    fail(column, fmt::format("the name of the {} is empty", what));
  }
  if (text.size() > ChangeReader::maxNameBytes) {
    fail(column, fmt::format("the name of the {} has {} bytes, at most {} are allowed", what, text.size(),
                             ChangeReader::maxNameBytes));
  }
}

[[noreturn]] void failType(Raw const& raw, std::string_view what, std::string_view expected) {
  fail(raw.column, fmt::format("{} must be {}, not {}", what, expected, raw.kindName()));
}

}  // namespace

/// The parser's events, collected. Calls come from the JSON library in the order of the line.
class ChangeReader::Members {
 public:
  void parse(std::string_view line) {
    for (Raw& raw : raws_) {
      raw.kind = Raw::Kind::absent;
      raw.column = 0;
    }
    keyCount_ = 0;
    depth_ = 0;
    inList_ = false;
    begin_ = tokenEnd_ = position_ = line.data();
    end_ = line.data() + line.size();
    if (line.starts_with("\xef\xbb\xbf")) {
      fail(1, "a byte-order mark has no place here");
    }
    nlohmann::json::sax_parse(Cursor(begin_, &position_), Cursor(end_, &position_), this);
  }

  Raw const& operator[](Member member) const noexcept { return raws_[static_cast<std::size_t>(member)]; }
  std::size_t keyCount() const noexcept { return keyCount_; }
  /// The text of a key, and where it stands.
  Raw const& listedKey(std::size_t index) const noexcept { return keys_[index]; }
  std::size_t lineColumns() const noexcept { return static_cast<std::size_t>(end_ - begin_) + 1; }

  // The events.

  bool null() {
    value(Raw::Kind::null);
    return true;
  }
  bool boolean(bool truth) {
    value(Raw::Kind::boolean).boolean = truth;
    return true;
  }
  bool number_integer(std::int64_t number) {
    Raw& raw = value(Raw::Kind::integer);
    raw.negative = number < 0;
    raw.magnitude =
        number < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
    return true;
  }
  bool number_unsigned(std::uint64_t number) {
    Raw& raw = value(Raw::Kind::integer);
    raw.negative = false;
    raw.magnitude = number;
    return true;
  }
  bool number_float(double number, std::string const&) {
    value(Raw::Kind::real).real = number;
    return true;
  }
  bool string(std::string& text) {
    std::size_t const column = startColumn();
    if (inList_) {
      if (keyCount_ == Change::maxKeys) {
        fail(column, fmt::format("more than {} keys", Change::maxKeys));
      }
      Raw& raw = keys_[keyCount_++];
      raw.kind = Raw::Kind::text;
      raw.column = static_cast<std::uint32_t>(column);
      raw.text.swap(text);
      tokenEnd_ = position_;
      return true;
    }
    value(Raw::Kind::text).text.swap(text);
    return true;
  }
  template <class Binary>
  bool binary(Binary&) {
    return false;
  }
  bool start_object(std::size_t) {
    if (depth_ != 0) {
      fail(startColumn(), "an object within the object");
    }
    ++depth_;
    tokenEnd_ = position_;
    return true;
  }
  bool key(std::string const& text) {
    std::size_t const column = startColumn();
    current_ = find(text);
    if (current_ == nullptr) {
      fail(column, fmt::format("unknown member {}", inQuotes(text)));
    }
    if (current_->column != 0) {
      fail(column, fmt::format("member \"{}\" stands twice", text));
    }
    tokenEnd_ = position_;
    return true;
  }
  bool end_object() {
    tokenEnd_ = position_;
    return true;
  }
  bool start_array(std::size_t) {
    if (depth_ == 0) {
      fail(startColumn(), "a line must be an object");
    }
    if (inList_ || current_ != &raws_[static_cast<std::size_t>(Member::key)]) {
      fail(startColumn(), "a list where none belongs");
    }
    value(Raw::Kind::list);
    inList_ = true;
    return true;
  }
  bool end_array() {
    inList_ = false;
    tokenEnd_ = position_;
    return true;
  }
  bool parse_error(std::size_t position, std::string const&, nlohmann::detail::exception const& error) {
    // Of a number beyond all doubles the library tells no place.
    bool const isPlaced = dynamic_cast<nlohmann::json::parse_error const*>(&error) != nullptr;
    fail(isPlaced ? std::max<std::size_t>(position, 1) : startColumn(), jsonFault(error));
  }

 private:
  Raw* find(std::string_view text) noexcept {
    for (std::size_t at = 0; at < memberCount; ++at) {
      if (name(static_cast<Member>(at)) == text) {
        return &raws_[at];
      }
    }
    return nullptr;
  }

  /// Between two tokens stand only blanks and punctuation: the present token starts after them.
  std::size_t startColumn() const noexcept {
    char const* at = tokenEnd_;
    while (at < end_ && (*at == ' ' || *at == '\t' || *at == '\r' || *at == ',' || *at == ':')) {
      ++at;
    }
    return static_cast<std::size_t>(at - begin_) + 1;
  }

  Raw& value(Raw::Kind kind) {
    std::size_t const column = startColumn();
    if (depth_ == 0) {
      fail(column, "a line must be an object");
    }
    if (inList_) {
      fail(column, "a key must be a string");
    }
    current_->kind = kind;
    current_->column = static_cast<std::uint32_t>(column);
    tokenEnd_ = position_;
    return *current_;
  }

  std::array<Raw, memberCount> raws_;
  std::array<Raw, Change::maxKeys> keys_;
  std::size_t keyCount_ = 0;
  Raw* current_ = nullptr;
  unsigned depth_ = 0;
  bool inList_ = false;
  char const* begin_ = nullptr;
  char const* end_ = nullptr;
  /// Where the parser stands, and where the last token ended (a number's end may lie one byte further).
  char const* position_ = nullptr;
  char const* tokenEnd_ = nullptr;
};

namespace {

std::chrono::nanoseconds readTime(Raw const& raw) {
  double seconds = 0;
  if (raw.kind == Raw::Kind::integer) {
    seconds = raw.negative ? -1.0 : static_cast<double>(raw.magnitude);
  } else if (raw.kind == Raw::Kind::real) {
    seconds = raw.real;
  } else {
    failType(raw, "\"time\"", "a number of seconds");
  }
  if (seconds < 0) {
    fail(raw.column, "\"time\" is negative");
  }
  if (seconds > ChangeReader::maxTime) {
    fail(raw.column, fmt::format("\"time\" is above {:.0f} seconds", ChangeReader::maxTime));
  }
  return std::chrono::nanoseconds(std::llround(seconds * 1e9));
}

Operation readOperation(Raw const& raw) {
  if (raw.kind == Raw::Kind::absent) {
    return Operation::set;
  }
  if (raw.kind != Raw::Kind::text) {
    failType(raw, "\"op\"", "a string");
  }
  for (std::size_t at = 0; at < operations; ++at) {
    if (name(static_cast<Operation>(at)) == raw.text) {
      return static_cast<Operation>(at);
    }
  }
  fail(raw.column, fmt::format("unknown \"op\" {}; there are set, add, replace and del", inQuotes(raw.text)));
}

Interface::IntfEnabledState readState(Raw const& raw, std::string_view what) {
  using Interface::IntfEnabledState;
  constexpr std::string_view words = "\"unset\", \"enabled\" or \"disabled\"";
  if (raw.kind != Raw::Kind::text) {
    failType(raw, what, words);
  }
  if (raw.text == "unset") {
    return IntfEnabledState::unset;
  }
  if (raw.text == "enabled") {
    return IntfEnabledState::enabled;
  }
  if (raw.text == "disabled") {
    return IntfEnabledState::disabled;
  }
  fail(raw.column, fmt::format("{} must be {}, not {}", what, words, inQuotes(raw.text)));
}

std::int32_t readInteger(Raw const& raw, std::string_view what) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (raw.kind == Raw::Kind::real) {
    fail(raw.column, fmt::format("{} must be a whole number from {} to {}", what, Limits::min(), Limits::max()));
  }
  if (raw.kind != Raw::Kind::integer) {
    failType(raw, what, "a whole number");
  }
  std::uint64_t const limit = static_cast<std::uint64_t>(Limits::max()) + (raw.negative ? 1 : 0);
  if (raw.magnitude > limit) {
    fail(raw.column, fmt::format("{} is out of range: {} to {}", what, Limits::min(), Limits::max()));
  }
  auto const magnitude = static_cast<std::int64_t>(raw.magnitude);
  return static_cast<std::int32_t>(raw.negative ? -magnitude : magnitude);
}

void readValue(Raw const& raw, ValueType type, std::string_view what, Value& value) {
  value.type = type;
  switch (type) {
  case ValueType::none:
    break;
  case ValueType::boolean:
    if (raw.kind != Raw::Kind::boolean) {
      failType(raw, what, "true or false");
    }
    value.boolean = raw.boolean;
    break;
  case ValueType::integer:
    value.integer = readInteger(raw, what);
    break;
  case ValueType::state:
    value.state = readState(raw, what);
    break;
  case ValueType::text:
    if (raw.kind != Raw::Kind::text) {
      failType(raw, what, "a string");
    }
    if (raw.text.size() > ChangeReader::maxTextBytes) {
      fail(raw.column,
           fmt::format("{} has {} bytes, at most {} are allowed", what, raw.text.size(), ChangeReader::maxTextBytes));
    }
    value.text.assign(raw.text);
    break;
  case ValueType::profile:
    if (raw.kind == Raw::Kind::null) {
      value.text.clear();
      break;
    }
    if (raw.kind != Raw::Kind::text) {
      failType(raw, what, "the name of a default configuration or null");
    }
    checkName(raw.text, "default configuration", raw.column);
    value.text.assign(raw.text);
    break;
  }
}

}  // namespace

ChangeReader::ChangeReader() : members_(std::make_unique<Members>()) {}

ChangeReader::~ChangeReader() = default;

bool ChangeReader::isBlank(std::string_view line) noexcept {
  return line.find_first_not_of(" \t\r") == std::string_view::npos;
}

Change const& ChangeReader::read(std::string_view line) {
  Members& members = *members_;
  members.parse(line);

  auto const required = [&members](Member member) -> Raw const& {
    Raw const& raw = members[member];
    if (raw.kind == Raw::Kind::absent) {
      fail(members.lineColumns(), fmt::format("member \"{}\" is missing", name(member)));
    }
    return raw;
  };

  change_.time = readTime(required(Member::time));

  Raw const& entity = required(Member::entity);
  if (entity.kind != Raw::Kind::text) {
    failType(entity, "\"entity\"", "a string");
  }
  change_.entity = Schema::entity(entity.text);
  if (change_.entity == nullptr) {
    fail(entity.column, fmt::format("unknown entity {}", inQuotes(entity.text)));
  }
  EntitySchema const& schema = *change_.entity;

  Raw const& keyMember = required(Member::key);
  bool const isList = keyMember.kind == Raw::Kind::list;
  std::size_t const given = isList ? members.keyCount() : 1;
  if (!isList && keyMember.kind != Raw::Kind::text) {
    failType(keyMember, "\"key\"", "a string or a list of strings");
  }
  if (given != schema.keyCount()) {
    fail(keyMember.column, fmt::format("{} is found by {} key{}, not by {}", schema.name, schema.keyCount(),
                                       plural(schema.keyCount()), given));
  }
  for (std::size_t at = 0; at < given; ++at) {
    Raw const& key = isList ? members.listedKey(at) : keyMember;
    checkName(key.text, schema.keys[at], key.column);
    change_.keys[at].assign(key.text);
  }

  Raw const& op = members[Member::op];
  change_.operation = readOperation(op);
  if (schema.apply[static_cast<std::size_t>(change_.operation)] == nullptr) {
    required(Member::op);
    fail(op.column, fmt::format("{} offers no \"{}\"", schema.name, name(change_.operation)));
  }

  // An attribute goes with its value: always when one is set, at will when an entry comes, never when one goes.
  Raw const& attribute = members[Member::attribute];
  Raw const& value = members[Member::value];
  bool const hasAttribute = attribute.kind != Raw::Kind::absent;
  bool const hasValue = value.kind != Raw::Kind::absent;
  bool const takesAttribute = !schema.attributes.empty() && change_.operation != Operation::del;
  change_.attribute = nullptr;
  change_.value.type = ValueType::none;
  if (hasAttribute) {
    if (!takesAttribute) {
      fail(attribute.column, fmt::format("{} of {} takes no attribute", name(change_.operation), schema.name));
    }
    if (attribute.kind != Raw::Kind::text) {
      failType(attribute, "\"attribute\"", "a string");
    }
    change_.attribute = schema.attribute(attribute.text);
    if (change_.attribute == nullptr) {
      fail(attribute.column, fmt::format("{} has no attribute {}", schema.name, inQuotes(attribute.text)));
    }
  } else if (takesAttribute && change_.operation == Operation::set) {
    required(Member::attribute);
  }

  ValueType const type = change_.operation == Operation::del ? ValueType::none
                         : change_.attribute != nullptr      ? change_.attribute->type
                                                             : schema.value;
  if (type != ValueType::none) {
    required(Member::value);
    std::string_view const what = change_.attribute != nullptr ? change_.attribute->name : schema.name;
    readValue(value, type, what, change_.value);
  } else if (hasValue) {
    fail(value.column, fmt::format("{} of {} takes no value", name(change_.operation), schema.name));
  }

  for (std::size_t at = 0; at < memberCount; ++at) {
    change_.columns[at] = members[static_cast<Member>(at)].column;
  }
  return change_;
}

}  // namespace VaroHost
