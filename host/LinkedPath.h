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
///     VaroHost::walkLinkedPath("/etc/varo/list", [&](std::string const& directory, std::string const& name) { ... });

#include <functional>
#include <string>

namespace VaroHost {

/// As the kernel's own limit.
inline constexpr int maxLinks = 40;

using PlaceVisitor = std::function<void(std::string const& directory, std::string const& name)>;

void walkLinkedPath(std::string const& path, PlaceVisitor const& visit);

/// What a symbolic link holds; empty for whatever is none.
std::string linkTarget(std::string const& link);

}  // namespace VaroHost
