#pragma once

/// \file
/// JSON as the program writes it, and the JSON library's complaints as the program repeats them.
///
/// Guarantees
///   A  `jsonText` is one line of valid UTF-8: bytes that are none become U+FFFD.
///   B  `jsonFault` leaves out what only the library's own users can read: its name, its numbers, its place.
///
/// Use
///
///     out.write(VaroHost::jsonText(json));

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace VaroHost {

std::string jsonText(nlohmann::ordered_json const& json);

/// What is wrong, a part of what the exception says.
std::string_view jsonFault(nlohmann::json::exception const& error);

}  // namespace VaroHost
