// The "pam" commands: show and edit a PAM service file, /etc/pam.d/SERVICE,
// through the library's PAM model. The file is rewritten in the model's
// own layout (stacks in the order account, auth, password, session;
// comments are not kept); a file that the model cannot read is refused and
// left untouched.
#ifndef QUARRYAUTHCTL_PAMCOMMANDS_H
#define QUARRYAUTHCTL_PAMCOMMANDS_H

#include <CLI/CLI.hpp>

#include "Command.h"

namespace quarryauthctl {

void AddPamCommands(CLI::App& app, Action& chosen);

}  // namespace quarryauthctl

#endif
