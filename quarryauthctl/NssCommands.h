// The "nss" commands: show /etc/nsswitch.conf through the library's
// name-service switch model, and replace one database's line, keeping every
// other line; a file that the model cannot read whole is refused and left
// untouched.
#ifndef QUARRYAUTHCTL_NSSCOMMANDS_H
#define QUARRYAUTHCTL_NSSCOMMANDS_H

#include <CLI/CLI.hpp>

#include "Command.h"

namespace quarryauthctl {

void AddNssCommands(CLI::App& app, Action& chosen);

}  // namespace quarryauthctl

#endif
