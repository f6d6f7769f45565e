// The symbolic names of errno values ("ENOENT"), for output that scripts read: the numbers differ
// between systems, the names do not.
//
// Threading: reentrant.
#pragma once

#include <string>

namespace core {

// "ENOENT" for ENOENT; "E" and the number for a value the system has no name for.
std::string errnoName(int error);

// The system's sentence for an errno value ("No such file or directory").
std::string errnoDescription(int error);

} // namespace core
