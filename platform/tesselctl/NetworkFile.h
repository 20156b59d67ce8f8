// The host's network files (/etc/hosts, /etc/resolv.conf), read whole
// and replaced whole, edited line by line. Internal to libtesselctl.
#ifndef TESSELCTL_NETWORKFILE_H
#define TESSELCTL_NETWORKFILE_H

#include <string>
#include <vector>

namespace TesselCtl {

// Reads the whole file. Returns false, with contents empty, when it does not
// exist. Throws HostCtl::Lib::HostCtlException when it cannot be read.
bool ReadNetworkFile(const std::string& path, std::string& contents);

// Replaces the file atomically and durably with contents, keeping its mode
// (0644 for a new file). Where path is a symbolic link, the file it points
// to is replaced and the link stays. Throws HostCtl::Lib::HostCtlException
// on failure; the old file is then unchanged.
void ReplaceNetworkFile(const std::string& path, const std::string& contents);

// The lines of a text without their newlines; a last line without newline
// is a line too.
std::vector<std::string> SplitLines(const std::string& contents);

// Every line followed by a newline.
std::string JoinLines(const std::vector<std::string>& lines);

}  // namespace TesselCtl

#endif
