// The query texts of the file index: comparisons of item attributes with numbers and quoted
// strings ("kMDItemFSSize >= 1048576", "kMDItemContentType == 'com.apple.disk-image-udif'"),
// joined by && and ||, grouped with parentheses. A string may end in modifiers: c (ignore case),
// d (ignore diacritics, accepted), w (word-wise, accepted); "*" in a string matches any run of
// characters. A multi-valued attribute equals a string when one of its values does, and differs
// from it when none does. A comparison with an attribute the item lacks is false.
//
// Threading: a parsed predicate is immutable and may be evaluated on many threads at once.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace core {

using MetadataValue = std::variant<std::int64_t, std::string, std::vector<std::string>>;
using MetadataLookup = std::function<std::optional<MetadataValue>(const std::string& attribute)>;

class MetadataPredicate {
public:
    // Absent when the text is not a query this index understands.
    static std::optional<MetadataPredicate> parse(const std::string& text);

    bool evaluate(const MetadataLookup& lookup) const;

    struct Node;

private:
    explicit MetadataPredicate(std::shared_ptr<const Node> root) : root_(std::move(root)) {}
    std::shared_ptr<const Node> root_;
};

} // namespace core
