// Debian's pam-auth-update: the system's own way to put a module into the
// common-* files that the other PAM services include (files with
// "@include", which the library's PAM model does not read). The tool gives
// it a profile of its own and asks it to turn that profile on.
#ifndef QUARRYAUTHCTL_PAMAUTHUPDATE_H
#define QUARRYAUTHCTL_PAMAUTHUPDATE_H

#include <list>
#include <string>
#include <vector>

#include "FileChanges.h"

namespace quarryauthctl {

extern const char kPamAuthUpdatePath[];  // "/usr/sbin/pam-auth-update"
extern const char kProfileName[];        // "quarryauthctl"

bool HavePamAuthUpdate();

// The profile that puts module into the auth, account and session blocks,
// after the host's own primary modules. localUserModule, when not empty,
// lets local accounts through the account block without asking module.
std::string ProfileText(const std::string& module,
                        const std::list<std::string>& parameters,
                        const std::string& localUserModule);

// Refuses (Failure) when turning a profile on would also turn on profiles
// that pam-auth-update has not offered yet ("Default: yes", not seen).
void RequireNoUnseenDefaultProfiles();

// Writes the profile and has pam-auth-update turn it on; every file that
// this changes is noted in changes. Failure with pam-auth-update's words
// when it did not put module into common-auth (local modifications of the
// common-* files, for one); what was changed is then taken back.
void EnableProfile(const std::string& profileText, const std::string& module,
                   FileChanges& changes);

// Whether the auth block of common-auth names module.
bool CommonAuthNames(const std::string& module);

}  // namespace quarryauthctl

#endif
