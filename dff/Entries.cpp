#include "dff/Entries.h"

#include "dff/FileType.h"

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

} // namespace dff
