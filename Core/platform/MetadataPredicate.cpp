#include "Core/platform/MetadataPredicate.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <fnmatch.h>

namespace core {

enum class Comparison { equal, notEqual, less, lessOrEqual, greater, greaterOrEqual };

struct MetadataPredicate::Node {
    enum class Kind { all, any, compare } kind;
    std::vector<Node> children;
    std::string attribute;
    Comparison comparison = Comparison::equal;
    std::variant<std::int64_t, std::string> operand;
    bool ignoreCase = false;
};

namespace {

using Node = MetadataPredicate::Node;

class Parser {
public:
    explicit Parser(const std::string& text) : text_(text) {}

    std::optional<Node> parseAll() {
        auto node = parseOr();
        skipSpace();
        if (!node || position_ != text_.size())
            return std::nullopt;
        return node;
    }

private:
    void skipSpace() {
        while (position_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[position_])))
            ++position_;
    }

    bool take(const std::string& token) {
        skipSpace();
        if (text_.compare(position_, token.size(), token) != 0)
            return false;
        position_ += token.size();
        return true;
    }

    std::optional<Node> parseJoined(Node::Kind kind, const std::string& joiner,
                                    std::optional<Node> (Parser::*parsePart)()) {
        auto first = (this->*parsePart)();
        if (!first)
            return std::nullopt;
        Node joined{kind, {std::move(*first)}, {}, {}, {}, false};
        while (take(joiner)) {
            auto next = (this->*parsePart)();
            if (!next)
                return std::nullopt;
            joined.children.push_back(std::move(*next));
        }
        if (joined.children.size() == 1)
            return std::move(joined.children.front());
        return joined;
    }

    std::optional<Node> parseOr() { return parseJoined(Node::Kind::any, "||", &Parser::parseAnd); }
    std::optional<Node> parseAnd() { return parseJoined(Node::Kind::all, "&&", &Parser::parseFactor); }

    std::optional<Node> parseFactor() {
        if (take("(")) {
            auto inner = parseOr();
            if (!inner || !take(")"))
                return std::nullopt;
            return inner;
        }
        return parseComparison();
    }

    std::optional<Node> parseComparison() {
        skipSpace();
        std::size_t start = position_;
        while (position_ < text_.size() && (std::isalnum(static_cast<unsigned char>(text_[position_])) ||
                                            text_[position_] == '_' || text_[position_] == ':'))
            ++position_;
        if (position_ == start || std::isdigit(static_cast<unsigned char>(text_[start])))
            return std::nullopt;
        Node node{Node::Kind::compare, {}, text_.substr(start, position_ - start), {}, {}, false};
        auto comparison = parseComparisonOperator();
        if (!comparison)
            return std::nullopt;
        node.comparison = *comparison;
        if (!parseOperand(node))
            return std::nullopt;
        return node;
    }

    std::optional<Comparison> parseComparisonOperator() {
        // Longer operators first, so that ">=" is not read as ">".
        static const std::vector<std::pair<std::string, Comparison>> operators = {
            {"==", Comparison::equal},       {"!=", Comparison::notEqual}, {">=", Comparison::greaterOrEqual},
            {"<=", Comparison::lessOrEqual}, {"=", Comparison::equal},     {">", Comparison::greater},
            {"<", Comparison::less},
        };
        for (const auto& [token, comparison] : operators)
            if (take(token))
                return comparison;
        return std::nullopt;
    }

    bool parseOperand(Node& node) {
        skipSpace();
        if (position_ >= text_.size())
            return false;
        char quote = text_[position_];
        if (quote == '\'' || quote == '"')
            return parseString(node, quote);
        std::int64_t number = 0;
        auto [end, error] = std::from_chars(text_.data() + position_, text_.data() + text_.size(), number);
        if (error != std::errc())
            return false;
        position_ = static_cast<std::size_t>(end - text_.data());
        node.operand = number;
        return true;
    }

    bool parseString(Node& node, char quote) {
        std::string value;
        for (++position_; position_ < text_.size() && text_[position_] != quote; ++position_) {
            if (text_[position_] == '\\' && position_ + 1 < text_.size())
                ++position_;
            value += text_[position_];
        }
        if (position_ >= text_.size())
            return false;
        ++position_;
        while (position_ < text_.size() && std::string("cdw").find(text_[position_]) != std::string::npos)
            node.ignoreCase = node.ignoreCase || text_[position_++] == 'c';
        node.operand = std::move(value);
        return true;
    }

    const std::string& text_;
    std::size_t position_ = 0;
};

bool stringsEqual(const std::string& value, const Node& node) {
    const auto& pattern = std::get<std::string>(node.operand);
    if (pattern.find('*') != std::string::npos)
        return ::fnmatch(pattern.c_str(), value.c_str(), node.ignoreCase ? FNM_CASEFOLD : 0) == 0;
    if (!node.ignoreCase)
        return value == pattern;
    return value.size() == pattern.size() &&
           std::equal(value.begin(), value.end(), pattern.begin(), [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) ==
                      std::tolower(static_cast<unsigned char>(b));
           });
}

template <class T> bool ordered(const T& value, const T& operand, Comparison comparison) {
    switch (comparison) {
    case Comparison::equal:
        return value == operand;
    case Comparison::notEqual:
        return value != operand;
    case Comparison::less:
        return value < operand;
    case Comparison::lessOrEqual:
        return value <= operand;
    case Comparison::greater:
        return value > operand;
    case Comparison::greaterOrEqual:
        return value >= operand;
    }
    return false;
}

bool compareString(const std::string& value, const Node& node) {
    if (node.comparison == Comparison::equal)
        return stringsEqual(value, node);
    if (node.comparison == Comparison::notEqual)
        return !stringsEqual(value, node);
    return ordered(value, std::get<std::string>(node.operand), node.comparison);
}

bool compare(const MetadataValue& value, const Node& node) {
    if (const auto* number = std::get_if<std::int64_t>(&value)) {
        const auto* operand = std::get_if<std::int64_t>(&node.operand);
        return operand && ordered(*number, *operand, node.comparison);
    }
    if (!std::holds_alternative<std::string>(node.operand))
        return false;
    if (const auto* text = std::get_if<std::string>(&value))
        return compareString(*text, node);
    const auto& values = std::get<std::vector<std::string>>(value);
    bool anyEqual =
        std::any_of(values.begin(), values.end(), [&](const auto& one) { return stringsEqual(one, node); });
    if (node.comparison == Comparison::equal)
        return anyEqual;
    if (node.comparison == Comparison::notEqual)
        return !anyEqual;
    return std::any_of(values.begin(), values.end(),
                       [&](const auto& one) { return compareString(one, node); });
}

bool evaluateNode(const Node& node, const MetadataLookup& lookup) {
    switch (node.kind) {
    case Node::Kind::all:
        return std::all_of(node.children.begin(), node.children.end(),
                           [&](const Node& child) { return evaluateNode(child, lookup); });
    case Node::Kind::any:
        return std::any_of(node.children.begin(), node.children.end(),
                           [&](const Node& child) { return evaluateNode(child, lookup); });
    case Node::Kind::compare:
        break;
    }
    auto value = lookup(node.attribute);
    return value && compare(*value, node);
}

} // namespace

std::optional<MetadataPredicate> MetadataPredicate::parse(const std::string& text) {
    auto root = Parser(text).parseAll();
    if (!root)
        return std::nullopt;
    return MetadataPredicate(std::make_shared<const Node>(std::move(*root)));
}

bool MetadataPredicate::evaluate(const MetadataLookup& lookup) const {
    return evaluateNode(*root_, lookup);
}

} // namespace core
