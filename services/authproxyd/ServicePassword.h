// The directory account's password, kept in a file only its owner may read.
// It is read for every use, so that a changed password needs no restart,
// and reaches only the Kerberos library, in this process.
#ifndef QUARRY_AUTHPROXYD_SERVICEPASSWORD_H
#define QUARRY_AUTHPROXYD_SERVICEPASSWORD_H

#include <string>

namespace quarry::authproxyd {

// The file's first line. Throws SettingsError when the file cannot be read,
// is empty, or can be read or written by others than its owner.
std::string ReadServicePassword(const std::string& path);

}  // namespace quarry::authproxyd

#endif
