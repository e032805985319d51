#include "host/StateFile.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "host/DeviceState.h"
#include "host/InputFile.h"
#include "host/JsonText.h"
#include "host/Text.h"
#include "host/Trouble.h"

namespace VaroHost {

using Json = nlohmann::json;

/// The parser's events, as a document. Calls come from the JSON library in the order of the text.
class StateFile::Builder {
 public:
  Builder(std::string_view text, std::string const& name) : text_(text), name_(name) {}

  Json take() { return std::move(root_); }

  bool null() { return scalar(Json()); }
  bool boolean(bool truth) { return scalar(truth); }
  bool number_integer(std::int64_t number) { return scalar(number); }
  bool number_unsigned(std::uint64_t number) { return scalar(number); }
  bool number_float(double, std::string const& text) { refuse("number {} is not whole", excerpt(text)); }
  bool string(std::string& text) { return scalar(std::move(text)); }
  template <class Binary>
  bool binary(Binary&) {
    return false;
  }
  bool start_object(std::size_t) {
    if (open_.size() == maxDepth) {
      refuse("more than {} objects within one another", maxDepth);
    }
    Json& object = place();
    object = Json::object();
    open_.push_back(&object);
    return true;
  }
  bool key(std::string& text) {
    // The text moves into the document first: messages are for failures.
    auto const [at, isNew] = open_.back()->get_ref<Json::object_t&>().try_emplace(std::move(text));
    if (!isNew) {
      refuse("member \"{}\" stands twice", excerpt(at->first));
    }
    member_ = &at->second;
    return true;
  }
  bool end_object() {
    open_.pop_back();
    return true;
  }
  bool start_array(std::size_t) { refuse("{}", "a list where none belongs"); }
  bool end_array() { return false; }
  bool parse_error(std::size_t position, std::string const&, nlohmann::detail::exception const& error) {
    std::string_view const before = text_.substr(0, std::max<std::size_t>(position, 1) - 1);
    auto const line = std::count(before.begin(), before.end(), '\n') + 1;
    std::size_t const column = before.size() - (before.rfind('\n') + 1) + 1;
    throw Trouble(fmt::format("{}:{}:{}: no state: {}", name_, line, column, jsonFault(error)));
  }

 private:
  bool scalar(Json value) {
    if (open_.empty()) {
      refuse("{}", "not an object");
    }
    place() = std::move(value);
    return true;
  }
  Json& place() { return open_.empty() ? root_ : *member_; }
  template <class... Args>
  [[noreturn]] void refuse(fmt::format_string<Args...> pattern, Args&&... args) const {
    throw Trouble(fmt::format("{}: no state: {}", name_, fmt::format(pattern, std::forward<Args>(args)...)));
  }

  std::string_view const text_;
  std::string const& name_;
  Json root_;
  /// The objects around the place reached; members of a map stay where they are.
  std::vector<Json*> open_;
  Json* member_ = nullptr;
};

Json StateFile::parse(std::string_view text, std::string const& name) {
  Builder builder(text, name);
  Json::sax_parse(text.begin(), text.end(), &builder);
  Json state = builder.take();
  auto const format = state.find(DeviceState::formatKey);
  if (format == state.end()) {
    throw Trouble(fmt::format("{}: no state: member \"{}\" is missing", name, DeviceState::formatKey));
  }
  if (*format != DeviceState::format) {
    throw Trouble(fmt::format("{}: a state of format {}; this program knows {}", name, excerpt(format->dump()),
                              DeviceState::format));
  }
  return state;
}

Json StateFile::read(std::string const& file) {
  InputFile const input(file);
  return parse(input.readAll(maxBytes), input.name());
}

}  // namespace VaroHost
