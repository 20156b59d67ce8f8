// Where the directory's PAM rules go in a service file that stands on its
// own (no "@include"): auth right after pam_unix.so, so that local users
// are asked first and the directory gets the same password; account and
// session at the end of their stacks. Every other line stays as it was.
#ifndef QUARRYAUTHCTL_DIRECTORYPAMRULES_H
#define QUARRYAUTHCTL_DIRECTORYPAMRULES_H

#include <list>
#include <string>

#include "PamFileText.h"

namespace quarryauthctl {

struct DirectoryModule {
  std::string module;                 // as the plug-in names it
  std::list<std::string> parameters;  // its auth parameters
  std::string localUserModule;        // "pam_localuser.so", or empty
};

// Adds the rules to file (of path); ModelRefusal with words when a
// directory user could not pass the auth stack whatever the module says
// (pam_unix.so required, or missing), and the file is then not changed.
void AddDirectoryRules(PamFileText& file, const std::string& path,
                       const DirectoryModule& directory);

}  // namespace quarryauthctl

#endif
