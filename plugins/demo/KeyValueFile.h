// The small settings files of the demonstration plug-ins: key = "value"
// lines, the format of the library's own files, read and written with the
// project's shared code for it (plug-ins do not link the library).
#ifndef QUARRYDEMO_KEYVALUEFILE_H
#define QUARRYDEMO_KEYVALUEFILE_H

#include <map>
#include <string>

namespace quarrydemo {

using KeyValues = std::map<std::string, std::string>;

// The pairs of path; a missing or unreadable file gives none. Lines without
// "=" and lines starting with "#" are skipped; one pair of outer quotes is
// removed from a value.
KeyValues ReadKeyValueFile(const std::string& path);

// Replaces path with the pairs: written to a temporary file beside it,
// flushed to disk, then renamed over it. Returns 0 or the errno value of
// the step that failed (the old file is then left as it was).
int ReplaceKeyValueFile(const std::string& path, const KeyValues& pairs);

// The value of key, or fallback when it is absent.
std::string ValueOr(const KeyValues& pairs, const std::string& key,
                    const std::string& fallback);

}  // namespace quarrydemo

#endif
