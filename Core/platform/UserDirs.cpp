#include "Core/platform/UserDirs.h"

namespace core {
namespace {

constexpr std::string_view downloadKey = "XDG_DOWNLOAD_DIR=";
constexpr std::string_view homeVariable = "$HOME";

std::string_view unquoted(std::string_view value) {
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
        return value.substr(1, value.size() - 2);
    return value;
}

std::optional<UserDirsFolder> folderOf(std::string_view value) {
    value = unquoted(value);
    if (value.substr(0, homeVariable.size()) == homeVariable) {
        auto rest = value.substr(homeVariable.size());
        // "$HOMEWORK" names a variable of its own, not the home folder.
        if (!rest.empty() && rest.front() != '/')
            return std::nullopt;
        return UserDirsFolder{true, std::string(rest)};
    }
    if (!value.empty() && value.front() == '/')
        return UserDirsFolder{false, std::string(value)};
    return std::nullopt;
}

} // namespace

std::optional<UserDirsFolder> userDirsDownloadFolder(std::string_view text) {
    if (text.size() > userDirsSizeLimit)
        return std::nullopt;
    while (!text.empty()) {
        auto end = text.find('\n');
        auto line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (line.substr(0, downloadKey.size()) == downloadKey)
            if (auto folder = folderOf(line.substr(downloadKey.size())))
                return folder;
    }
    return std::nullopt;
}

} // namespace core
