// The "nss" commands: show and edit /etc/nsswitch.conf through the
// library's name-service switch model. The file is rewritten in the
// model's own layout (databases in their fixed order, comments not kept);
// a file that the model cannot read is refused and left untouched.
#ifndef QUARRYAUTHCTL_NSSCOMMANDS_H
#define QUARRYAUTHCTL_NSSCOMMANDS_H

#include <CLI/CLI.hpp>

#include "Command.h"

namespace quarryauthctl {

void AddNssCommands(CLI::App& app, Action& chosen);

}  // namespace quarryauthctl

#endif
