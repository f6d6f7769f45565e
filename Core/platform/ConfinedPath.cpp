#include "Core/platform/ConfinedPath.h"

#include <climits>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace core {
namespace {

// As many links as the kernel follows in one path before it gives up with ELOOP.
constexpr int maximumLinkHops = 40;

// The components of a path, last first, so that the next one to walk is at the back.
void pushComponents(const std::string& path, std::vector<std::string>& pending) {
    std::size_t end = path.size();
    while (end > 0) {
        std::size_t slash = path.rfind('/', end - 1);
        std::size_t begin = slash == std::string::npos ? 0 : slash + 1;
        if (end > begin)
            pending.push_back(path.substr(begin, end - begin));
        if (slash == std::string::npos)
            break;
        end = slash;
    }
}

std::string joined(const std::string& top, const std::vector<std::string>& components) {
    std::string path = top == "/" ? "" : top;
    for (const auto& component : components)
        path += "/" + component;
    return path.empty() ? "/" : path;
}

std::optional<std::string> linkTarget(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0 || !S_ISLNK(info.st_mode))
        return std::nullopt;
    std::string target(PATH_MAX, '\0');
    ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length <= 0)
        return std::string();
    target.resize(static_cast<std::size_t>(length));
    return target;
}

class Resolution {
public:
    Resolution(const std::string& top, Escape escape) : top_(top), escape_(escape) {}

    std::optional<std::string> run(const std::string& path) {
        pushComponents(path, pending_);
        while (!pending_.empty()) {
            std::string name = std::move(pending_.back());
            pending_.pop_back();
            if (!step(name))
                return std::nullopt;
        }
        return joined(top_, resolved_);
    }

private:
    bool step(const std::string& name) {
        if (name == ".")
            return true;
        if (name == "..")
            return climb();
        resolved_.push_back(name);
        auto target = linkTarget(joined(top_, resolved_));
        if (!target)
            return true;
        resolved_.pop_back();
        return ++hops_ <= maximumLinkHops && follow(*target);
    }

    bool climb() {
        if (!resolved_.empty()) {
            resolved_.pop_back();
            return true;
        }
        return escape_ == Escape::clamp;
    }

    // A relative target goes on from the link's folder; an absolute one from the top.
    bool follow(const std::string& target) {
        if (target.empty())
            return false;
        if (target.front() == '/') {
            resolved_.clear();
            if (escape_ == Escape::refuse) {
                if (!isSameOrBelow(target, top_))
                    return false;
                pushComponents(target.substr(top_ == "/" ? 0 : top_.size()), pending_);
                return true;
            }
        }
        pushComponents(target, pending_);
        return true;
    }

    const std::string& top_;
    Escape escape_;
    std::vector<std::string> pending_;
    std::vector<std::string> resolved_;
    int hops_ = 0;
};

} // namespace

std::optional<std::string> resolveInside(const std::string& top, const std::string& path, Escape escape) {
    return Resolution(top, escape).run(path);
}

std::string lexicallyNormal(const std::string& path) {
    bool absolute = !path.empty() && path.front() == '/';
    std::vector<std::string> pending, kept;
    pushComponents(path, pending);
    for (; !pending.empty(); pending.pop_back()) {
        const auto& name = pending.back();
        if (name == ".")
            continue;
        if (name != "..")
            kept.push_back(name);
        else if (!kept.empty() && kept.back() != "..")
            kept.pop_back();
        else if (!absolute)
            kept.push_back(name);
    }
    if (absolute)
        return joined("/", kept);
    return kept.empty() ? "." : joined("/", kept).substr(1);
}

bool isSameOrBelow(const std::string& path, const std::string& folder) {
    if (folder == "/")
        return !path.empty() && path.front() == '/';
    return path.rfind(folder, 0) == 0 && (path.size() == folder.size() || path[folder.size()] == '/');
}

} // namespace core
