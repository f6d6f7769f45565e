#include "Core/platform/PropertyList.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <plist/plist.h>

namespace core {
namespace {

struct PlistFree {
    void operator()(plist_t node) const { plist_free(node); }
};

std::string takeString(char* text) {
    std::string value = text ? text : "";
    std::free(text);
    return value;
}

bool convertArray(plist_t node, int depth, PlistValue& converted);
bool convertDictionary(plist_t node, int depth, PlistValue& converted);

// False when the list nests deeper than the cap; the recursion is bounded by it.
bool convert(plist_t node, int depth, PlistValue& converted) {
    switch (plist_get_node_type(node)) {
    case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        converted.value = text ? std::string(text, length) : std::string();
        return true;
    }
    case PLIST_UINT: {
        std::uint64_t number = 0;
        plist_get_uint_val(node, &number);
        converted.value = static_cast<std::int64_t>(number);
        return true;
    }
    case PLIST_REAL: {
        double number = 0;
        plist_get_real_val(node, &number);
        converted.value = number;
        return true;
    }
    case PLIST_BOOLEAN: {
        std::uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        converted.value = flag != 0;
        return true;
    }
    case PLIST_ARRAY:
        return depth < maximumPlistDepth && convertArray(node, depth + 1, converted);
    case PLIST_DICT:
        return depth < maximumPlistDepth && convertDictionary(node, depth + 1, converted);
    default:
        return true;
    }
}

bool convertArray(plist_t node, int depth, PlistValue& converted) {
    PlistArray items(plist_array_get_size(node));
    for (std::uint32_t i = 0; i < items.size(); ++i)
        if (!convert(plist_array_get_item(node, i), depth, items[i]))
            return false;
    converted.value = std::move(items);
    return true;
}

bool convertDictionary(plist_t node, int depth, PlistValue& converted) {
    PlistDictionary entries;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    bool complete = true;
    while (complete) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(node, iterator, &key, &value);
        if (!key)
            break;
        complete = convert(value, depth, entries[takeString(key)]);
    }
    std::free(iterator);
    converted.value = std::move(entries);
    return complete;
}

// The bytes of a regular file no larger than the cap; a larger one is refused before it is read.
std::optional<std::string> readBoundedFile(const std::string& path, PlistProblem& problem) {
    auto refuse = [&](PlistProblem why) {
        problem = why;
        return std::optional<std::string>();
    };
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        return refuse(PlistProblem::missing);
    auto length = std::filesystem::file_size(path, error);
    if (error)
        return refuse(PlistProblem::missing);
    if (length > maximumPlistBytes)
        return refuse(PlistProblem::tooLarge);
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return refuse(PlistProblem::missing);
    // One byte more than the length tells a file that grew since its length was read.
    std::string bytes(static_cast<std::size_t>(length) + 1, '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(in.gcount()));
    if (bytes.size() > maximumPlistBytes)
        return refuse(PlistProblem::tooLarge);
    return bytes;
}

// A big-endian unsigned number of `width` bytes at `at`; absent past the end.
std::optional<std::uint64_t> bigEndian(const std::string& bytes, std::uint64_t at, std::uint64_t width) {
    if (width == 0 || width > 8 || at > bytes.size() || bytes.size() - at < width)
        return std::nullopt;
    std::uint64_t value = 0;
    for (std::uint64_t i = 0; i < width; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

// Whether the string object at `at` of a binary list holds a NUL: as a dictionary key or a
// string, libplist ends the process on one (it asserts that the text ends at its length).
// Absent when the object cannot be read.
std::optional<bool> stringHoldsNul(const std::string& bytes, std::uint64_t at) {
    auto marker = bigEndian(bytes, at, 1);
    if (!marker)
        return std::nullopt;
    unsigned type = *marker >> 4;
    if (type != 0x5 && type != 0x6)
        return false;
    std::uint64_t count = *marker & 0xF, start = at + 1;
    if (count == 0xF) {
        auto intMarker = bigEndian(bytes, start, 1);
        if (!intMarker || (*intMarker >> 4) != 0x1 || (*intMarker & 0xF) > 3)
            return std::nullopt;
        std::uint64_t width = 1ull << (*intMarker & 0xF);
        auto length = bigEndian(bytes, start + 1, width);
        if (!length)
            return std::nullopt;
        count = *length;
        start += 1 + width;
    }
    std::uint64_t unit = type == 0x5 ? 1 : 2;
    if (count > bytes.size() / unit || start > bytes.size() || bytes.size() - start < count * unit)
        return std::nullopt;
    for (std::uint64_t i = 0; i < count; ++i)
        if (bytes[start + i * unit] == 0 && (unit == 1 || bytes[start + i * unit + 1] == 0))
            return true;
    return false;
}

// A binary list is read only when every string object in its offset table is free of NULs and the
// table itself is whole. XML has no NUL character at all, so an XML list holding one is refused
// whole.
bool stringsAreSafe(const std::string& bytes) {
    constexpr std::uint64_t trailerSize = 32;
    if (bytes.rfind("bplist00", 0) != 0)
        return bytes.find('\0') == std::string::npos;
    if (bytes.size() < 8 + trailerSize)
        return true;
    std::uint64_t trailer = bytes.size() - trailerSize;
    auto offsetWidth = bigEndian(bytes, trailer + 6, 1);
    auto objects = bigEndian(bytes, trailer + 8, 8);
    auto table = bigEndian(bytes, trailer + 24, 8);
    if (!offsetWidth || !objects || !table || *offsetWidth == 0 || *offsetWidth > 8 ||
        *table > bytes.size() || *objects > bytes.size() / *offsetWidth)
        return false;
    for (std::uint64_t i = 0; i < *objects; ++i) {
        auto offset = bigEndian(bytes, *table + i * *offsetWidth, *offsetWidth);
        auto nul = offset ? stringHoldsNul(bytes, *offset) : std::nullopt;
        if (!nul || *nul)
            return false;
    }
    return true;
}

std::optional<PlistValue> parse(const std::string& bytes, PlistProblem& problem) {
    if (bytes.size() > maximumPlistBytes) {
        problem = PlistProblem::tooLarge;
        return std::nullopt;
    }
    if (!stringsAreSafe(bytes)) {
        problem = PlistProblem::malformed;
        return std::nullopt;
    }
    plist_t root = nullptr;
    if (!bytes.empty())
        plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    std::unique_ptr<void, PlistFree> owned(root);
    PlistValue converted;
    if (!root)
        problem = PlistProblem::malformed;
    else if (!convert(root, 0, converted))
        problem = PlistProblem::tooDeep;
    if (problem != PlistProblem::none)
        return std::nullopt;
    return converted;
}

// Runs `read`, handing the caller the problem it met if the caller asked for it.
template <class Read> auto reporting(PlistProblem* problem, Read read) {
    PlistProblem why = PlistProblem::none;
    auto result = read(why);
    if (problem)
        *problem = why;
    return result;
}

} // namespace

std::optional<PlistValue> parsePropertyList(const std::string& bytes, PlistProblem* problem) {
    return reporting(problem, [&](PlistProblem& why) { return parse(bytes, why); });
}

std::optional<PlistDictionary> readPlistContent(const std::string& path, PlistProblem* problem) {
    return reporting(problem, [&](PlistProblem& why) -> std::optional<PlistDictionary> {
        auto bytes = readBoundedFile(path, why);
        auto parsed = bytes ? parse(*bytes, why) : std::nullopt;
        if (parsed && !parsed->dictionary())
            why = PlistProblem::notDictionary;
        if (why != PlistProblem::none)
            return std::nullopt;
        return std::get<PlistDictionary>(std::move(parsed->value));
    });
}

bool isRefusal(PlistProblem problem) {
    return problem == PlistProblem::tooLarge || problem == PlistProblem::tooDeep;
}

const char* describe(PlistProblem problem) {
    switch (problem) {
    case PlistProblem::none:
        return "read";
    case PlistProblem::missing:
        return "no readable file";
    case PlistProblem::tooLarge:
        return "property list larger than the cap";
    case PlistProblem::tooDeep:
        return "property list nested deeper than the cap";
    case PlistProblem::malformed:
        return "no property list";
    case PlistProblem::notDictionary:
        return "property list without a dictionary at its top";
    }
    return "unknown";
}

std::optional<std::string> stringValue(const PlistDictionary& dictionary, const std::string& key) {
    auto found = dictionary.find(key);
    if (found == dictionary.end() || !found->second.string())
        return std::nullopt;
    return *found->second.string();
}

} // namespace core
