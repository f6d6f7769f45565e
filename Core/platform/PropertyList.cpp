#include "Core/platform/PropertyList.h"

#include "Core/platform/FileInfo.h"

#include <cstdlib>
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

PlistValue convert(plist_t node) {
    PlistValue converted;
    switch (plist_get_node_type(node)) {
    case PLIST_STRING: {
        char* text = nullptr;
        plist_get_string_val(node, &text);
        converted.value = takeString(text);
        break;
    }
    case PLIST_UINT: {
        std::uint64_t number = 0;
        plist_get_uint_val(node, &number);
        converted.value = static_cast<std::int64_t>(number);
        break;
    }
    case PLIST_REAL: {
        double number = 0;
        plist_get_real_val(node, &number);
        converted.value = number;
        break;
    }
    case PLIST_BOOLEAN: {
        std::uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        converted.value = flag != 0;
        break;
    }
    case PLIST_ARRAY: {
        PlistArray items;
        for (std::uint32_t i = 0; i < plist_array_get_size(node); ++i)
            items.push_back(convert(plist_array_get_item(node, i)));
        converted.value = std::move(items);
        break;
    }
    case PLIST_DICT: {
        PlistDictionary entries;
        plist_dict_iter iterator = nullptr;
        plist_dict_new_iter(node, &iterator);
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, iterator, &key, &value);
            if (!key)
                break;
            entries.emplace(takeString(key), convert(value));
        }
        std::free(iterator);
        converted.value = std::move(entries);
        break;
    }
    default:
        break;
    }
    return converted;
}

} // namespace

std::optional<PlistValue> parsePropertyList(const std::string& bytes) {
    if (bytes.empty())
        return std::nullopt;
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    if (!root)
        return std::nullopt;
    std::unique_ptr<void, PlistFree> owned(root);
    return convert(root);
}

std::optional<PlistDictionary> readPlistContent(const std::string& path) {
    auto bytes = readFileContents(path);
    auto parsed = bytes ? parsePropertyList(*bytes) : std::nullopt;
    if (!parsed || !parsed->dictionary())
        return std::nullopt;
    return *parsed->dictionary();
}

std::optional<std::string> stringValue(const PlistDictionary& dictionary, const std::string& key) {
    auto found = dictionary.find(key);
    if (found == dictionary.end() || !found->second.string())
        return std::nullopt;
    return *found->second.string();
}

} // namespace core
