// Whether the PAM and name-service modules that the directory plug-in names
// are installed on this host, and which databases the name-service module
// answers.
#ifndef QUARRYAUTHCTL_HOSTMODULES_H
#define QUARRYAUTHCTL_HOSTMODULES_H

#include <string>
#include <vector>

namespace quarryauthctl {

// The file of a PAM module named as PAM finds it (a path, or a file name in
// the system's security folders); Failure naming where it looked.
std::string FindPamModule(const std::string& module);

// The databases of the name-service switch ("passwd", "group", "shadow",
// "netgroup", "services") that libnss_NAME.so.2 answers, in that order;
// Failure when the library is not on the host or answers none of them.
std::vector<std::string> NameServiceDatabases(const std::string& name);

}  // namespace quarryauthctl

#endif
