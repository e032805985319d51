#pragma once

/// \file
/// The directories that decide what a path leads to: those of its own components and of every symbolic link on the way.
///
/// Guarantees
///   A  Each place (a directory, and a name in it) is told before the name is looked up: who watches a place as it is
///      told misses no later change of it.
///   B  The walk ends where a name is missing, is no directory though more follows, or after `maxLinks` links.
///
/// Use
///
///     VaroHost::LinkedPath::walk("/etc/varo/list", [&](std::string const& directory, std::string const& name) { ... });

#include <functional>
#include <string>

namespace VaroHost {

class LinkedPath {
 public:
  /// As the kernel's own limit.
  static constexpr int maxLinks = 40;

  using Visitor = std::function<void(std::string const& directory, std::string const& name)>;

  static void walk(std::string const& path, Visitor const& visit);
};

}  // namespace VaroHost
