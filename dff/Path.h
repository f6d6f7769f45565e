// A file-system path as the duplicate engine keeps it: absolute, UTF-8, no trailing slash, joined
// with "/" and never normalised.
#pragma once

#include <string>

namespace dff {

class Path {
public:
    Path(const std::string& text) : text_(text) {}
    Path(std::string&& text) : text_(std::move(text)) {}
    Path(const char* text) : text_(text) {}

    Path operator/(const std::string& component) const { return Path(text_ + "/" + component); }
    Path operator/(const char* component) const { return Path(text_ + "/" + component); }
    const char* cStr() const { return text_.c_str(); }
    const std::string& str() const { return text_; }
    std::size_t length() const { return text_.size(); }

private:
    std::string text_;
};

} // namespace dff
