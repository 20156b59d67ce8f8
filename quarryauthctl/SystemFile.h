// Reading and atomically replacing the system files that the PAM and
// name-service commands edit.
#ifndef QUARRYAUTHCTL_SYSTEMFILE_H
#define QUARRYAUTHCTL_SYSTEMFILE_H

#include <string>

namespace quarryauthctl {

// The whole file; Failure when it cannot be read.
std::string ReadSystemFile(const std::string& path);

// Replaces path with text, durably, keeping the old file's mode (0600 for a
// new file): readers see the old file or the new one, never a part. When
// writing fails the temporary file is removed and the old file stays.
void ReplaceSystemFile(const std::string& path, const std::string& text);

}  // namespace quarryauthctl

#endif
