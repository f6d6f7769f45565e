// Property lists, XML or binary, as bundles and containers keep their metadata.
//
// Threading: plain values; the functions are reentrant.
#pragma once

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

// The property list in the bytes, absent when they are none.
std::optional<PlistValue> parsePropertyList(const std::string& bytes);

// The dictionary at the top of the property list file at `path`; absent when there is no file,
// it is no property list, or its top is something else.
std::optional<PlistDictionary> readPlistContent(const std::string& path);

// The text of a string entry of a dictionary, if it is one.
std::optional<std::string> stringValue(const PlistDictionary& dictionary, const std::string& key);

} // namespace core
