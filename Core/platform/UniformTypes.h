// Uniform type identifiers for files, from their extension, with the chain of types each conforms
// to ("public.png" conforms to "public.image" and "public.data"), and the folders that are
// packages: shown to the user as one file though they are folders on the disk.
//
// Threading: pure functions over constant tables; safe from any thread.
#pragma once

#include <string>
#include <vector>

namespace core {

namespace uti {
inline constexpr const char* folder = "public.folder";
inline constexpr const char* data = "public.data";
inline constexpr const char* symlink = "public.symlink";
inline constexpr const char* package = "com.apple.package";
} // namespace uti

// The type of a regular file by its extension, compared without regard to case; "public.data"
// when the extension says nothing.
std::string typeForFileExtension(const std::string& extension);
// The type of a package folder by its extension.
std::string typeForPackageExtension(const std::string& extension);
// The type itself first, then every type it conforms to.
std::vector<std::string> conformanceTree(const std::string& type);
bool conformsTo(const std::string& type, const std::string& ancestor);

// Whether a folder with this extension is a package by its name alone; folders that hold
// "Contents/Info.plist" are packages too, whatever their name.
bool isPackageExtension(const std::string& extension);

} // namespace core
