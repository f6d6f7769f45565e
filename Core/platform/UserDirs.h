// Reading the XDG user-dirs file ("~/.config/user-dirs.dirs"), which names the user's downloads
// folder among others. The file belongs to the user and may hold anything; this reader takes its
// bytes and never trusts them further than this text says.
//
// Threading: reentrant.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace core {

// A real user-dirs file is a few hundred bytes; anything larger is not one.
inline constexpr std::size_t userDirsSizeLimit = 64 * 1024;

// One folder as the file names it.
struct UserDirsFolder {
    // The value began with "$HOME": `path` is then what followed it, relative to the home folder.
    bool inHome = false;
    std::string path;
};

// The folder that the first XDG_DOWNLOAD_DIR line names ("$HOME/..." or an absolute path, quoted
// or not). Absent when no line names one in those forms, or the text is longer than
// userDirsSizeLimit.
std::optional<UserDirsFolder> userDirsDownloadFolder(std::string_view text);

} // namespace core
