#pragma once

/// \file
/// Calls of foreign code, counted: something is done at the one of a given number. And the ways in which foreign code
/// can fail.
///
/// Use
///
///     for (int position = 0; position != callOuts; ++position) {
///       Faults::CallOuts calls(position, [](std::string const&) { throw 7; });
///       watcher->act = [&calls](std::string const& event) { calls(event); };
///       ...
///       EXPECT_NE(calls.struck(), "");
///     }

#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>

#include "Zon/Exception.h"

namespace Faults {

/// Something to throw that is no `std::exception`.
struct Plain {
  int number;
};

/// A way to throw, and to recognise what was thrown.
struct Throwing {
  char const* name;
  void (*act)();
};

inline constexpr Throwing throwings[] = {
    {"StdException", [] { throw std::runtime_error("thrown by a test"); }},
    {"RuntimeException", [] { throw Zon::NameInUseException("thrown by a test"); }},
    {"NoException", [] { throw Plain{7}; }},
};

/// What a call throws: "StdException", "RuntimeException" or "NoException" of the above, "" for nothing, and the text of
/// anything else.
template <class Call>
std::string thrownBy(Call const& call) {
  try {
    call();
  } catch (Zon::NameInUseException const& thrown) {
    return thrown.text() == "thrown by a test" ? "RuntimeException" : thrown.what();
  } catch (std::runtime_error const& thrown) {
    return std::string("thrown by a test") == thrown.what() ? "StdException" : thrown.what();
  } catch (std::exception const& thrown) {
    return thrown.what();
  } catch (Plain const& thrown) {
    return thrown.number == 7 ? "NoException" : "another Plain";
  }
  return "";
}

class CallOuts {
 public:
  static constexpr int never = -1;

  /// \param act is done once, at call-out number `position`, and told what that call-out is.
  explicit CallOuts(int position = never, std::function<void(std::string const&)> act = {})
    : position_(position), act_(std::move(act)) {}
  CallOuts(CallOuts const&) = delete;
  CallOuts& operator=(CallOuts const&) = delete;

  /// A call-out. `what` says which.
  void operator()(std::string const& what) {
    if (made_++ != position_) return;
    struck_ = what;
    act_(what);
  }

  /// Call-outs so far.
  int made() const { return made_; }
  /// What the call-out was at which something was done; empty before it.
  std::string const& struck() const { return struck_; }

 private:
  int made_ = 0;
  int const position_;
  std::function<void(std::string const&)> act_;
  std::string struck_;
};

/// Counts what a test did, and says so when the test ends.
class Figure {
 public:
  explicit Figure(char const* what) : what_(what) {}
  ~Figure() { std::cout << "[  FIGURE  ] " << count_ << ' ' << what_ << '\n'; }
  Figure(Figure const&) = delete;
  Figure& operator=(Figure const&) = delete;
  void operator++() { ++count_; }
  long count() const { return count_; }

 private:
  char const* const what_;
  long count_ = 0;
};

}  // namespace Faults
