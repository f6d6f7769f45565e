#include "dff/Entries.h"

#include "dff/FileType.h"

#include <cstring>
#include <typeinfo>

namespace dff {

const char* File::getType() {
    if (!type)
        type = fileTypeOf(path);
    return type;
}

int fileTypeId(const File* file) {
    const auto& type = typeid(*file);
    if (type == typeid(File))
        return 0;
    if (type == typeid(Directory))
        return 1;
    if (type == typeid(Symlink))
        return 2;
    return 3;
}

bool specialDirectory(const dirent* entry) {
    const char* name = entry->d_name;
    std::size_t length = std::strlen(name);
    return (length == 1 && name[0] == '.') || (length == 2 && name[0] == '.' && name[1] == '.');
}

} // namespace dff
