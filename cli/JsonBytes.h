// Byte strings in JSON without loss. Paths, bundle identifiers and names are bytes: a file name may
// hold any byte but "/" and NUL, and JSON text must be UTF-8. A byte string that is valid UTF-8
// is a plain JSON string; any other is the object {"base64": "<standard base64 of the bytes>"}, so
// a reader recovers the exact bytes either way and a script that meets only plain names sees
// only strings.
//
// Threading: plain functions, reentrant.
#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidewell {

nlohmann::json jsonBytes(std::string_view bytes);
// An array of jsonBytes values.
nlohmann::json jsonBytesArray(const std::vector<std::string>& list);

// The bytes a value written by jsonBytes stands for; nothing for anything jsonBytes never writes
// (another type, a string that is not UTF-8, an object with other keys, base64 that is not in its
// one canonical form).
std::optional<std::string> bytesFromJson(const nlohmann::json& value);

std::string base64Encoded(std::string_view bytes);
// Nothing unless the text is canonical standard base64: padded to a multiple of four, no
// whitespace, and zero in the bits the padding leaves unused.
std::optional<std::string> base64Decoded(std::string_view text);

} // namespace tidewell
