// A file URL: an absolute path, kept without a trailing slash, compared and hashed by that path.
//
// Threading: an immutable value, safe to copy between queues.
#pragma once

#include <functional>
#include <string>

namespace core {

class URL {
public:
    URL() = default;
    static URL fileURL(std::string path);

    const std::string& path() const { return path_; }
    std::string lastPathComponent() const;
    // The text after the last dot of the last component, or empty.
    std::string pathExtension() const;
    URL appendingPathComponent(const std::string& component) const;
    URL deletingLastPathComponent() const;
    bool empty() const { return path_.empty(); }

    friend bool operator==(const URL&, const URL&) = default;
    friend auto operator<=>(const URL&, const URL&) = default;

private:
    explicit URL(std::string path) : path_(std::move(path)) {}
    std::string path_;
};

// Whether `path` is `ancestor` or lies inside it, compared by whole components.
bool isSameOrInside(const std::string& path, const std::string& ancestor);

} // namespace core

template <> struct std::hash<core::URL> {
    std::size_t operator()(const core::URL& url) const noexcept {
        return std::hash<std::string>()(url.path());
    }
};
