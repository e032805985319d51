#pragma once

/// \file
/// JSON as the program writes it, and the JSON library's complaints as the program repeats them.
///
/// Guarantees
///   A  `jsonText` is one line of valid UTF-8: bytes that are none become U+FFFD.
///   B  `jsonFault` says in plain words what is wrong: nothing of the library's own terms, no place.
///
/// Use
///
///     out.write(VaroHost::jsonText(json));

#include <string>

#include <nlohmann/json.hpp>

namespace VaroHost {

std::string jsonText(nlohmann::ordered_json const& json);

/// What is wrong, printable.
std::string jsonFault(nlohmann::json::exception const& error);

}  // namespace VaroHost
