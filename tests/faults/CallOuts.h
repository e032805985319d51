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

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <functional>
#include <iostream>
#include <string>
#include <utility>

#include "Zon/Exception.h"

/// There when a sanitizer is.
extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());

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
    // Of the kind that the library itself throws.
    {"Exception", [] { throw Zon::NameInUseException("thrown by a test"); }},
    {"NoException", [] { throw Plain{7}; }},
};

/// What a call throws: the name of one of the above, "" for nothing, and the text of anything else.
template <class Call>
std::string thrownBy(Call const& call) {
  try {
    call();
  } catch (Zon::NameInUseException const& thrown) {
    return thrown.text() == "thrown by a test" ? "Exception" : thrown.what();
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

/// Recorded events (see support/Events.h) without what was handed back, which is counted.
inline std::string withoutHandback(std::string const& events, int& handbacks) {
  std::string kept;
  for (std::size_t at = 0; at < events.size();) {
    std::size_t const end = std::min(events.find(' ', at), events.size());
    std::string const event = events.substr(at, end - at);
    if (event.find(":exception(") != std::string::npos) {
      ++handbacks;
    } else {
      kept += (kept.empty() ? "" : " ") + event;
    }
    at = end + 1;
  }
  return kept;
}

/// Says what is being done, to whoever reads how the process was aborted.
class Doing {
 public:
  explicit Doing(std::string text) : outer_(std::exchange(current(), std::move(text))) {
    static bool const isHandled = std::signal(SIGABRT, [](int) { say(); }) != SIG_ERR;
    static_cast<void>(isHandled);
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(say);
  }
  ~Doing() { current() = std::move(outer_); }
  Doing(Doing const&) = delete;
  Doing& operator=(Doing const&) = delete;

 private:
  static std::string& current() {
    static std::string text;
    return text;
  }
  static void say() { std::fprintf(stderr, "while doing: %s\n", current().c_str()); }

  std::string outer_;
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
