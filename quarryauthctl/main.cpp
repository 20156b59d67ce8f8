// quarryauthctl: drives and inspects libquarryauth by hand, the way an
// administrator drives realm, adcli or authselect. Built on the library's
// public interface alone. Exit statuses: ExitStatus.h and quarryauthctl.8.
#include <quarryauth/authentication.h>
#include <quarryauth/systemconfiguration.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "Command.h"
#include "DirectoryCommands.h"
#include "HostCertCommands.h"
#include "ExitStatus.h"
#include "JoinCommands.h"
#include "LibraryLog.h"
#include "LoginCommands.h"
#include "NssCommands.h"
#include "PamCommands.h"
#include "StatusCommand.h"
#include "StatusWords.h"
#include "StoreCommands.h"

namespace {

using namespace quarryauthctl;

namespace qa = quarry::authentication;

int Complain(const std::string& message, int status) {
  std::cerr << "quarryauthctl: " << message << '\n';
  return status;
}

// The library's text as it stands, then what the tool knows about it.
int ComplainOfLibrary(const qa::Exception& error) {
  Complain(error.what(), kLibraryError);
  const std::string words = DescribeStatus(error.GetCode());
  if (!words.empty()) Complain(words, kLibraryError);
  if (dynamic_cast<const qa::InvalidThumbprintStoreException*>(&error)) {
    Complain("no authentication proxy certificate has been imported; run "
             "'quarryauthctl import-proxy-cert FILE' with the proxy's "
             "certificate first",
             kLibraryError);
  }
  if (dynamic_cast<const qa::InvalidCAMCertificateException*>(&error)) {
    Complain(DescribeStatus(kStatusCertificateNotImported), kLibraryError);
  }
  return error.GetCode() == kStatusNotJoined ? kNotJoined : kLibraryError;
}

// Runs the chosen command and turns what it raises into lines on standard
// error and an exit status.
int Run(const Action& action) {
  try {
    return action();
  } catch (const UsageError& error) {
    return Complain(error.what(), kUsage);
  } catch (const Failure& error) {
    return Complain(error.what(), kFailure);
  } catch (const ModelRefusal& error) {
    return Complain(error.what(), kLibraryError);
  } catch (const FileRefusal& error) {
    return Complain(error.what(), kLibraryError);
  } catch (const qa::Exception& error) {
    return ComplainOfLibrary(error);
  } catch (const SkarnConfigStore::ConfigStoreException& error) {
    return Complain(error.what(), kLibraryError);
  } catch (const HostCtl::Lib::HostCtlException& error) {
    return Complain(error.what(), kLibraryError);
  } catch (const std::exception& error) {
    return Complain(error.what(), kFailure);
  }
}

std::vector<CLI::App*> Commands(CLI::App& app) {
  return app.get_subcommands(std::function<bool(CLI::App*)>());
}

std::string CommandNames(CLI::App& app) {
  std::string names;
  for (const CLI::App* command : Commands(app)) {
    names += (names.empty() ? "" : ", ") + command->get_name();
  }
  return names;
}

// The first word of the command line that stands where a command must and
// names none, as "unknown command ..."; empty when there is none. (The
// argument library would only say that a command is required.)
std::string UnknownCommand(CLI::App& app, int argc, char** argv) {
  CLI::App* current = &app;
  std::string path;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--") break;
    if (word.rfind('-', 0) == 0) continue;  // the groups take flags only
    if (Commands(*current).empty()) break;  // the rest are arguments
    CLI::App* next = nullptr;
    try {
      next = current->get_subcommand(word);
    } catch (const CLI::OptionNotFound&) {
      return "unknown command '" + path + word + "'; the " + path +
             "commands are " + CommandNames(*current) +
             " (see 'quarryauthctl " + path + "--help')";
    }
    path += word + " ";
    current = next;
  }
  return std::string();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{
      "Drive and inspect libquarryauth: authentication stores, Active "
      "Directory membership, PAM and name-service configuration.",
      "quarryauthctl"};
  app.require_subcommand(1);
  app.set_version_flag("--version", "quarryauthctl " QUARRYAUTH_VERSION);
  bool verbose = false;
  app.add_flag("--verbose", verbose,
               "Copy what the library writes to the system log during the "
               "command to standard error");
  Action chosen;
  AddStoreCommands(app, chosen);
  AddStatusCommand(app, chosen);
  AddJoinCommands(app, chosen);
  AddDirectoryCommands(app, chosen);
  AddHostCertCommands(app, chosen);
  AddPamCommands(app, chosen);
  AddNssCommands(app, chosen);
  AddLoginCommands(app, chosen);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const std::string unknown = UnknownCommand(app, argc, argv);
    if (error.get_exit_code() != 0 && !unknown.empty()) {
      return Complain(unknown, kUsage);
    }
    const int status = app.exit(error);
    return status == 0 ? kSuccess : kUsage;
  }
  OpenLibraryLog(verbose);
  return Run(chosen);
}
