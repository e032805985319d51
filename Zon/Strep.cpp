#include "Zon/Strep.h"

#include <charconv>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <unordered_map>

#include <cxxabi.h>

#include "Zon/Exception.h"
#include "Zon/StrepTable.h"
#include "Zon/ZonType.h"

namespace Zon {

constinit std::atomic<bool> strepTableInUse{false};

namespace {

/// Object <-> serial, without references. Objects may be destroyed by other threads, hence the lock.
class StrepTable {
 public:
  // Never destroyed: objects die until the very end of the process.
  static StrepTable& global() {
    static auto* const table = new StrepTable();
    return *table;
  }

  std::uint64_t serialOf(PtrInterface const* object) {
    std::lock_guard const lock(mutex_);
    auto const [at, added] = serials_.try_emplace(object, nextSerial_);
    if (added) {
      try {
        objects_.emplace(nextSerial_, object);
      } catch (...) {
        serials_.erase(at);
        throw;
      }
      ++nextSerial_;
      strepTableInUse.store(true, std::memory_order_relaxed);
    }
    return at->second;
  }

  /// The live object of that serial; null when there is none or when it is being destroyed.
  Ptr<PtrInterface> object(std::uint64_t serial) {
    std::lock_guard const lock(mutex_);
    auto const at = objects_.find(serial);
    if (at == objects_.end() || (at->second->zonWord() & PtrInterface::zonPinnedBit) != 0) {
      return {};
    }
    return Ptr<PtrInterface>(const_cast<PtrInterface*>(at->second));
  }

  void forget(PtrInterface const* object) noexcept {
    std::lock_guard const lock(mutex_);
    auto const at = serials_.find(object);
    if (at == serials_.end()) {
      return;
    }
    objects_.erase(at->second);
    serials_.erase(at);
    if (serials_.empty()) {
      strepTableInUse.store(false, std::memory_order_relaxed);
    }
  }

  std::size_t size() {
    std::lock_guard const lock(mutex_);
    return serials_.size();
  }

 private:
  std::mutex mutex_;
  std::uint64_t nextSerial_ = 1;
  std::unordered_map<PtrInterface const*, std::uint64_t> serials_;
  std::unordered_map<std::uint64_t, PtrInterface const*> objects_;
};

constexpr std::string_view nullText = "null";

constexpr bool isPlain(unsigned char byte) noexcept {
  return byte >= 0x21 && byte <= 0x7e && byte != '<' && byte != '>' && byte != '\\' && byte != '"';
}

constexpr bool isHex(unsigned char byte) noexcept {
  return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'f') || (byte >= 'A' && byte <= 'F');
}

void appendEscaped(std::string& text, std::string_view bytes) {
  constexpr char const* digits = "0123456789abcdef";
  for (char const byte : bytes) {
    auto const value = static_cast<unsigned char>(byte);
    if (isPlain(value)) {
      text += byte;
    } else {
      text += {'\\', 'x', digits[value >> 4], digits[value & 15]};
    }
  }
}

/// The parts of a well-formed reference.
struct Reference {
  std::string_view type;  // as written, escapes included
  std::uint64_t serial = 0;
  std::size_t length = 0;  // bytes of the whole text
};

/// Consumes bytes of a type name or path, up to one that belongs to neither. False on a broken escape.
bool skipEscaped(std::string_view text, std::size_t& at, char stop) {
  while (at < text.size() && text[at] != stop) {
    auto const byte = static_cast<unsigned char>(text[at]);
    if (isPlain(byte)) {
      ++at;
    } else if (byte == '\\' && text.size() - at >= 4 && text[at + 1] == 'x' &&
               isHex(static_cast<unsigned char>(text[at + 2])) && isHex(static_cast<unsigned char>(text[at + 3]))) {
      at += 4;
    } else {
      return false;
    }
  }
  return at < text.size();
}

std::optional<Reference> parse(std::string_view text) {
  Reference reference;
  if (text.empty() || text[0] != '<') {
    return {};
  }
  std::size_t at = 1;
  if (!skipEscaped(text, at, '#') || at == 1) {
    return {};
  }
  reference.type = text.substr(1, at - 1);
  ++at;
  char const* const digits = text.data() + at;
  char const* const end = text.data() + text.size();
  auto const [behind, error] = std::from_chars(digits, end, reference.serial);
  // Serials count from 1 and have one spelling.
  if (error != std::errc() || *digits == '0') {
    return {};
  }
  at = static_cast<std::size_t>(behind - text.data());
  if (at < text.size() && text[at] == ' ') {
    ++at;
    if (!skipEscaped(text, at, '>')) {
      return {};
    }
  }
  if (at >= text.size() || text[at] != '>') {
    return {};
  }
  reference.length = at + 1;
  return reference;
}

std::string typeText(PtrInterface const& object) {
  std::string text;
  appendEscaped(text, object.fwkType()->fullName().view());
  return text;
}

String8 print(PtrInterface const* object, Entity const* entity) {
  if (object == nullptr) {
    return String8(nullText);
  }
  std::string text = "<" + typeText(*object) + "#" + std::to_string(StrepTable::global().serialOf(object));
  if (entity != nullptr) {
    text += ' ';
    appendEscaped(text, entity->fullName().view());
  }
  text += '>';
  return String8(text);
}

template <class Integer>
void readInteger(String8::IteratorConst& begin, String8::IteratorConst const& end, Integer& value) {
  std::string_view const text = textBetween(begin, end);
  auto const [behind, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc()) {
    cannotConvert(begin, end, typeid(Integer));
  }
  begin += behind - text.data();
}

}  // namespace

std::string_view textBetween(String8::IteratorConst const& begin, String8::IteratorConst const& end) {
  std::string_view const whole = begin.string().view();
  if (end.position() <= begin.position()) {
    return {};
  }
  return whole.substr(static_cast<std::size_t>(begin.position()), static_cast<std::size_t>(end - begin));
}

void strepForget(PtrInterface const* object) noexcept { StrepTable::global().forget(object); }

std::size_t strepObjects() { return StrepTable::global().size(); }

void cannotConvert(String8::IteratorConst const& begin, String8::IteratorConst const& end, std::type_info const& type) {
  int status = 0;
  std::unique_ptr<char, decltype(&std::free)> const demangled(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
  std::string text = "cannot convert \"" + std::string(textBetween(begin, end)) + "\" to ";
  text += status == 0 ? demangled.get() : type.name();
  throw ConversionException(String8(text));
}

void junkAt(std::int64_t column, String8 const& text) {
  Exception::IdBitArray ids;
  ids.idIs(12);
  throw RangeException(format("junk at column %lld deserializing %s", column, text), ids, true);
}

Ptr<PtrInterface> sequenceToValueOfPtr(String8::IteratorConst& begin, String8::IteratorConst const& end,
                                       PtrInterface*) {
  std::string_view const text = textBetween(begin, end);
  if (text.starts_with(nullText)) {
    begin += static_cast<std::ptrdiff_t>(nullText.size());
    return {};
  }
  std::optional<Reference> const reference = parse(text);
  if (!reference) {
    return {};
  }
  begin += static_cast<std::ptrdiff_t>(reference->length);
  Ptr<PtrInterface> object = StrepTable::global().object(reference->serial);
  if (!object || typeText(*object) != reference->type) {
    return {};
  }
  return object;
}

Ptr<Entity> sequenceToValueOfPtr(String8::IteratorConst& begin, String8::IteratorConst const& end, Entity*) {
  String8::IteratorConst const start = begin;
  Ptr<PtrInterface> const object = sequenceToValueOfPtr(begin, end, static_cast<PtrInterface*>(nullptr));
  if (!object) {
    return {};
  }
  Ptr<Entity> const entity = ptrCast<Entity>(object);
  if (!entity) {
    begin = start;
  }
  return entity;
}

String8 valueToStrepOfRawPtr(PtrInterface const* object, std::type_info const&) {
  // The form follows the object, not the pointer: one object has one text.
  return print(object, dynamic_cast<Entity const*>(object));
}

String8 valueToStrepOfRawPtr(Entity const* entity, std::type_info const&) { return print(entity, entity); }

void readValue(String8::IteratorConst& begin, String8::IteratorConst const& end, bool& value) {
  std::string_view const text = textBetween(begin, end);
  for (bool const candidate : {true, false}) {
    std::string_view const word = candidate ? "true" : "false";
    if (text.starts_with(word)) {
      value = candidate;
      begin += static_cast<std::ptrdiff_t>(word.size());
      return;
    }
  }
  cannotConvert(begin, end, typeid(bool));
}

void readValue(String8::IteratorConst& begin, String8::IteratorConst const& end, std::int32_t& value) {
  readInteger(begin, end, value);
}

void readValue(String8::IteratorConst& begin, String8::IteratorConst const& end, std::uint32_t& value) {
  readInteger(begin, end, value);
}

void readValue(String8::IteratorConst& begin, String8::IteratorConst const& end, String8& value) {
  value = String8(textBetween(begin, end));
  begin = end;
}

}  // namespace Zon
