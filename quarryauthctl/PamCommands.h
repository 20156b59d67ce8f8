// The "pam" commands: show a PAM service file, /etc/pam.d/SERVICE, through
// the library's PAM model, and edit it line by line (PamFileText), keeping
// every line that an edit does not touch and the previous file as a backup.
#ifndef QUARRYAUTHCTL_PAMCOMMANDS_H
#define QUARRYAUTHCTL_PAMCOMMANDS_H

#include <CLI/CLI.hpp>

#include "Command.h"

namespace quarryauthctl {

void AddPamCommands(CLI::App& app, Action& chosen);

}  // namespace quarryauthctl

#endif
