// Making file replacements durable: data on disk before a rename, the rename
// itself on disk after it.
#ifndef QUARRY_COMMON_DURABLEFILE_H
#define QUARRY_COMMON_DURABLEFILE_H

#include <sys/types.h>

#include <string>

#include "common/UniqueFd.h"

namespace quarry::common {

// Creates a new file of mode 0600 beside path, named path + "." and six
// generated characters (mkstemp), and opens it for writing. A name longer
// than 4095 characters is cut there, which the system then refuses.
// Returns 0 with temporaryPath and file set, or the errno value.
int CreateTemporaryFileBeside(const std::string& path,
                              std::string& temporaryPath, UniqueFd& file);

// Flushes the contents of the file at path to stable storage.
// Returns 0 or the errno value of the failure.
int SyncFile(const std::string& path);

// Flushes the directory that holds path, so that a rename into it survives
// a crash. Returns 0 or the errno value of the failure.
int SyncParentDirectory(const std::string& path);

// Replaces the file at path with contents: written to a temporary file
// beside it, flushed, given the old file's mode (or newFileMode when there
// was no old file), renamed over the target and the rename flushed. The
// target is either the old or the new file at every moment. Returns 0 once
// the new file is in place (flushing the directory after the rename is a
// best effort), or the errno value of the step that failed, with the old
// file unchanged and the temporary file removed (an over-long path gives
// EINVAL, as from CreateTemporaryFileBeside).
int ReplaceFileContents(const std::string& path, const std::string& contents,
                        mode_t newFileMode);

}  // namespace quarry::common

#endif
