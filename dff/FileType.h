// Uniform type identifiers of regular files: from the extension where the table knows it, else
// sniffed from the content.
//
// Threading: safe from any thread; content sniffing takes a lock, as the sniffer is not reentrant.
#pragma once

#include "dff/Path.h"

#include <string_view>

namespace dff {

// The type for a content type as sniffing names it ("image/png"): the table's where it knows the
// content type, "public.data" for unknown binary data, and otherwise a type of its own made from
// the content type ("dyn.application.x-sharedlib"), so that equal contents give equal types.
const char* typeForContentType(std::string_view contentType);

// The file's type: by its extension, else by the first bytes of its content. Null when the
// extension says nothing and the content cannot be read. Types live as long as the process.
const char* fileTypeOf(const Path& path);

} // namespace dff
