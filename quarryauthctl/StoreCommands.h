// The commands that choose the remote authentication store: "stores",
// "activate", and "provider", which describes the directory plug-in.
#ifndef QUARRYAUTHCTL_STORECOMMANDS_H
#define QUARRYAUTHCTL_STORECOMMANDS_H

#include <CLI/CLI.hpp>
#include <string>

#include "Command.h"

namespace quarryauthctl {

void AddStoreCommands(CLI::App& app, Action& chosen);

// The store that authentication.conf records as active (what the stores'
// IsActive compares with), read without loading any plug-in; empty when
// none is recorded.
std::string RecordedActiveStore();

// The directory plug-in that provider.conf names; Failure when none.
std::string ConfiguredProvider();

}  // namespace quarryauthctl

#endif
