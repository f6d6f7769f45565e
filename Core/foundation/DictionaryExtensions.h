// Two operations on hash tables that the rule engine and the scanners use: re-keying a table, and
// creating-then-updating a value in one lookup.
#pragma once

#include <unordered_map>

namespace core {

// Keys become transform(key); values are kept. When two keys map to one, the later one in the
// table's iteration order wins. An exception from transform propagates.
template <class NewKey, class Key, class Value, class Hash, class Equal, class Transform>
std::unordered_map<NewKey, Value> mapKeys(const std::unordered_map<Key, Value, Hash, Equal>& table,
                                          Transform transform) {
    std::unordered_map<NewKey, Value> result;
    result.reserve(table.size());
    for (const auto& [key, value] : table)
        result.insert_or_assign(transform(key), value);
    return result;
}

// If key is missing, stores makeDefault(); then calls update with the stored value, in place.
template <class Map, class Key, class MakeDefault, class Update>
void updateValue(Map& table, const Key& key, MakeDefault makeDefault, Update update) {
    auto found = table.find(key);
    if (found == table.end())
        found = table.emplace(key, makeDefault()).first;
    update(found->second);
}

} // namespace core
