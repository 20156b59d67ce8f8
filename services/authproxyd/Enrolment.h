// The hosts that the proxy serves: the SHA-256 thumbprint of each host's
// client certificate and the host name it was enrolled for. One file
// (enrolment-file) holds them, in the key = "value" format, thumbprint =
// "host name"; it is read for every request and replaced whole and
// atomically, so that instances with the same settings share it and see a
// revocation at once.
#ifndef QUARRY_AUTHPROXYD_ENROLMENT_H
#define QUARRY_AUTHPROXYD_ENROLMENT_H

#include <map>
#include <string>

namespace quarry::authproxyd {

// thumbprint -> host name (lower case).
using Enrolment = std::map<std::string, std::string>;

// Upper-case hexadecimal pairs joined by ":", 32 of them.
bool IsValidThumbprint(const std::string& text);

// The list; a missing file is an empty list. Throws SettingsError, naming
// the file, when it cannot be read or holds an entry that is not a
// thumbprint and a host name.
Enrolment ReadEnrolment(const std::string& path);

// Replaces the file with the list (mode 0640 when new); throws
// SettingsError when it cannot.
void WriteEnrolment(const std::string& path, const Enrolment& enrolment);

}  // namespace quarry::authproxyd

#endif
