// The "status" command: what the Active Directory store knows about the
// host's domain membership, each answer marked when it came from the
// store's cache after a time-out.
#ifndef QUARRYAUTHCTL_STATUSCOMMAND_H
#define QUARRYAUTHCTL_STATUSCOMMAND_H

#include <quarryauth/authentication.h>

#include <CLI/CLI.hpp>
#include <deque>
#include <string>

#include "Command.h"

namespace quarryauthctl {

// The store configuration query, and whether its answer is the cache's.
struct DirectoryConfiguration {
  quarry::authentication::Domain domain;
  std::deque<std::string> preferredDomainControllers;
  std::string machineAccountDN;
  bool fromCache = false;
};

DirectoryConfiguration AskConfiguration(
    const quarry::authentication::ActiveDirectoryStore& store);

void AddStatusCommand(CLI::App& app, Action& chosen);

}  // namespace quarryauthctl

#endif
