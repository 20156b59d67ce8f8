// Reading a small file whole, with the system's error number when that
// fails, for callers that report errors each in their own terms.
#ifndef QUARRY_COMMON_FILECONTENTS_H
#define QUARRY_COMMON_FILECONTENTS_H

#include <string>

namespace quarry::common {

// Reads the whole file at path into contents. Returns 0, or the errno value
// of the failure with contents empty (ENOENT when there is no such file,
// EISDIR for a folder).
int ReadFileContents(const std::string& path, std::string& contents);

}  // namespace quarry::common

#endif
