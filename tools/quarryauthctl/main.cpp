// quarryauthctl: drives and inspects libquarryauth by hand, the way an
// administrator drives realm, adcli or authselect. Built on the library's
// public interface alone. Exit statuses: ExitStatus.h and quarryauthctl.1.
#include <quarryauth/authentication.h>
#include <quarryauth/systemconfiguration.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "Command.h"
#include "DirectoryCommands.h"
#include "ExitStatus.h"
#include "JoinCommands.h"
#include "NssCommands.h"
#include "PamCommands.h"
#include "StatusCommand.h"
#include "StoreCommands.h"

namespace {

using namespace quarryauthctl;

int Complain(const std::string& message, int status) {
  std::cerr << "quarryauthctl: " << message << '\n';
  return status;
}

// Runs the chosen command and turns what it raises into one line on
// standard error and an exit status.
int Run(const Action& action) {
  try {
    return action();
  } catch (const UsageError& error) {
    return Complain(error.what(), kUsage);
  } catch (const Failure& error) {
    return Complain(error.what(), kFailure);
  } catch (const ModelRefusal& error) {
    return Complain(error.what(), kLibraryError);
  } catch (const quarry::authentication::Exception& error) {
    return Complain(error.what(), kLibraryError);
  } catch (const SkarnConfigStore::ConfigStoreException& error) {
    return Complain(error.what(), kLibraryError);
  } catch (const HostCtl::Lib::HostCtlException& error) {
    return Complain(error.what(), kLibraryError);
  } catch (const std::exception& error) {
    return Complain(error.what(), kFailure);
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{
      "Drive and inspect libquarryauth: authentication stores, Active "
      "Directory membership, PAM and name-service configuration.",
      "quarryauthctl"};
  app.require_subcommand(1);
  Action chosen;
  AddStoreCommands(app, chosen);
  AddStatusCommand(app, chosen);
  AddJoinCommands(app, chosen);
  AddDirectoryCommands(app, chosen);
  AddPamCommands(app, chosen);
  AddNssCommands(app, chosen);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int status = app.exit(error);
    return status == 0 ? kSuccess : kUsage;
  }
  return Run(chosen);
}
