// Reading the host's own settings files (/etc/quarry/*.conf), which use the
// library's key-value format. Internal to libtesselctl.
#ifndef TESSELCTL_SETTINGSFILE_H
#define TESSELCTL_SETTINGSFILE_H

#include <map>
#include <string>

namespace TesselCtl {

// Reads every pair of the file at path into pairs (first occurrence of a key
// wins). Returns false, leaving pairs empty, when the file does not exist:
// every setting then has its default. Throws HostCtl::Lib::HostCtlException
// when the file cannot be read or a line is malformed.
bool ReadSettingsFile(const std::string& path,
                      std::map<std::string, std::string>& pairs);

}  // namespace TesselCtl

#endif
