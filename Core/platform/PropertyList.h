// Property lists, XML or binary, as bundles and containers keep their metadata.
//
// Threading: plain values; the functions are reentrant.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace core {

struct PlistValue;
using PlistArray = std::vector<PlistValue>;
using PlistDictionary = std::map<std::string, PlistValue>;

struct PlistValue {
    std::variant<std::monostate, std::string, std::int64_t, double, bool, PlistArray, PlistDictionary> value;

    const std::string* string() const { return std::get_if<std::string>(&value); }
    const PlistArray* array() const { return std::get_if<PlistArray>(&value); }
    const PlistDictionary* dictionary() const { return std::get_if<PlistDictionary>(&value); }
};

// Why a property list was not read. Lists beyond the caps are refused outright: nothing a bundle
// or a container keeps comes near them, and converting a list nested without bound would exhaust
// the stack, reading one of any length the memory.
enum class PlistProblem { none, missing, tooLarge, tooDeep, malformed, notDictionary };
constexpr std::size_t maximumPlistBytes = 4 * 1024 * 1024;
constexpr int maximumPlistDepth = 256;

// The property list in the bytes, absent when they are none; `problem`, if given, says why.
std::optional<PlistValue> parsePropertyList(const std::string& bytes, PlistProblem* problem = nullptr);

// The dictionary at the top of the property list file at `path`; absent when there is no regular
// file, it is larger than the cap (then it is not read), it is no property list, or its top is
// something else. `problem`, if given, says which.
std::optional<PlistDictionary> readPlistContent(const std::string& path, PlistProblem* problem = nullptr);

// Whether the list was refused for its size or depth rather than found wanting.
bool isRefusal(PlistProblem problem);

// A short English phrase for a problem, for diagnostics.
const char* describe(PlistProblem problem);

// The text of a string entry of a dictionary, if it is one.
std::optional<std::string> stringValue(const PlistDictionary& dictionary, const std::string& key);

} // namespace core
