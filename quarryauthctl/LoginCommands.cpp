#include "LoginCommands.h"

#include <quarryauth/authentication.h>

#include <iostream>
#include <list>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "ExitStatus.h"
#include "FileChanges.h"
#include "HostModules.h"
#include "LoginPlan.h"
#include "LoginRecord.h"
#include "NameServiceSwitchFile.h"
#include "Output.h"
#include "PamAuthUpdate.h"
#include "PamFileText.h"
#include "StoreCommands.h"

namespace quarryauthctl {

namespace qa = quarry::authentication;

namespace {

const char kThroughPamAuthUpdate[] = "pam-auth-update";

std::string JoinedDomain() {
  try {
    return qa::ActiveDirectoryConfigStore().GetDomainName();
  } catch (const qa::ConfigurationError&) {
    return std::string();  // no record of a joined domain
  }
}

void ApplyServices(const std::vector<ServicePlan>& plans,
                   const Modules& modules, FileChanges& changes,
                   LoginRecord& record) {
  bool profileNeeded = false;
  for (const ServicePlan& plan : plans) {
    if (plan.already) {
      std::cout << "PAM service '" << plan.name << "' already names '"
                << modules.pam.module << "'; left as it is.\n";
      continue;
    }
    if (plan.throughPamAuthUpdate) {
      profileNeeded = true;
      record.services.push_back({plan.name, kThroughPamAuthUpdate});
      continue;
    }
    changes.Write(PamBackupPath(plan.path), plan.original);
    changes.Write(plan.path, plan.edited);
    record.services.push_back({plan.name, plan.path});
    std::cout << "PAM service '" << plan.name << "': '" << modules.pam.module
              << "' added to " << plan.path << " (the previous file is "
              << PamBackupPath(plan.path) << ").\n";
  }
  if (!profileNeeded) return;
  EnableProfile(ProfileText(modules.pam.module, modules.pam.parameters,
                            modules.pam.localUserModule),
                modules.pam.module, changes);
  std::string names;
  for (const auto& service : record.services) {
    if (service.through != kThroughPamAuthUpdate) continue;
    names += (names.empty() ? "'" : ", '") + service.name + "'";
  }
  std::cout << "PAM services " << names << ": '" << modules.pam.module
            << "' added to the common-* files they include, through "
               "pam-auth-update's profile '"
            << kProfileName << "'.\n";
}

struct EnableOptions {
  std::vector<std::string> services;
};

int Enable(const EnableOptions& options) {
  if (LoginRecordExists()) {
    throw Failure("directory logins are already enabled; 'quarryauthctl "
                  "login disable' first");
  }
  const std::string active = RecordedActiveStore();
  if (active != "Active Directory") {
    throw Failure("the active store is '" + (active.empty() ? "None" : active) +
                  "', so directory users could not log in; 'quarryauthctl "
                  "activate \"Active Directory\"' first; nothing was changed");
  }
  const std::string domain = JoinedDomain();
  if (domain.empty()) {
    std::cerr << "quarryauthctl: this host is not joined to a domain; join "
                 "it first ('quarryauthctl join'); nothing was changed\n";
    return kNotJoined;
  }
  Modules modules = PluginModules();
  FindPamModule(modules.pam.module);
  try {
    FindPamModule("pam_localuser.so");
    modules.pam.localUserModule = "pam_localuser.so";
  } catch (const Failure&) {
  }
  const std::vector<std::string> databases = NameServiceDatabases(modules.nss);
  // Everything is planned, and refused, before anything is written.
  const std::vector<ServicePlan> plans =
      PlanServices(options.services, modules);
  for (const ServicePlan& plan : plans) {
    if (plan.throughPamAuthUpdate && !plan.already) {
      RequireNoUnseenDefaultProfiles();
      break;
    }
  }
  LoginRecord record;
  record.pamModule = modules.pam.module;
  record.nssModule = modules.nss;
  const SwitchPlan switchPlan =
      PlanSwitch(modules, databases, record.databases);
  FileChanges changes;
  try {
    ApplyServices(plans, modules, changes, record);
    if (!record.databases.empty()) {
      changes.Write(std::string(kSwitchPath) + ".quarryauthctl-backup",
                    switchPlan.original);
      changes.Write(kSwitchPath, switchPlan.edited);
    }
    record.files = changes.Changes();
    SaveLoginRecord(record);
  } catch (...) {
    for (const auto& failure : changes.RollBack()) {
      std::cerr << "quarryauthctl: " << failure << '\n';
    }
    throw;
  }
  if (!record.databases.empty()) {
    std::cout << "Name-service switch: '" << SwitchService(modules)
              << "' added to " << JoinWords(record.databases) << ".\n";
  }
  std::cout << "Directory logins enabled for " << domain << ".\n";
  return kSuccess;
}

int Disable(bool force) {
  if (!LoginRecordExists()) {
    throw Failure("directory logins are not enabled by 'quarryauthctl login "
                  "enable'; nothing was changed");
  }
  const LoginRecord record = LoadLoginRecord();
  std::string changedSince;
  for (const FileChange& change : record.files) {
    if (ReadFileState(change.path) != change.after) {
      changedSince += (changedSince.empty() ? "'" : ", '") + change.path + "'";
    }
  }
  if (!changedSince.empty() && !force) {
    throw Failure("changed since 'login enable': " + changedSince +
                  "; nothing was changed ('login disable --force' puts back "
                  "what was there before 'login enable' and loses those "
                  "changes)");
  }
  FileChanges changes;
  changes.Adopt(record.files);
  const std::vector<std::string> failed = changes.RollBack();
  if (!failed.empty()) {
    for (const auto& failure : failed) {
      std::cerr << "quarryauthctl: " << failure << '\n';
    }
    throw Failure("some files could not be put back; the record stays in '" +
                  std::string(kLoginRecordFolder) + "'");
  }
  RemoveLoginRecord();
  for (const FileChange& change : record.files) {
    std::cout << (change.before.exists ? "Restored " : "Removed ")
              << change.path << '\n';
  }
  std::cout << "Directory logins disabled.\n";
  return kSuccess;
}

bool StillWired(const LoginRecord& record, const WiredService& service) {
  if (service.through == kThroughPamAuthUpdate) {
    return CommonAuthNames(record.pamModule);
  }
  const FileState state = ReadFileState(service.through);
  if (!state.exists) return false;
  return PamFileText(service.through, state.content)
             .FindRule("auth", record.pamModule) != PamFileText::npos;
}

int Status(bool json) {
  if (!LoginRecordExists()) {
    if (json) {
      PrintJson({{"enabled", false}});
    } else {
      std::cout << "Directory logins: not enabled\n";
    }
    return kSuccess;
  }
  const LoginRecord record = LoadLoginRecord();
  const FileState switchFile = ReadFileState(kSwitchPath);
  Json services = Json::array();
  Json databases = Json::array();
  for (const WiredService& service : record.services) {
    services.push_back({{"service", service.name},
                        {"through", service.through},
                        {"wired", StillWired(record, service)}});
  }
  for (const auto& database : record.databases) {
    databases.push_back(
        {{"database", database},
         {"wired", DatabaseLineNames(switchFile.content, database,
                                     record.nssModule)}});
  }
  if (json) {
    PrintJson({{"enabled", true},
               {"pamModule", record.pamModule},
               {"nssModule", record.nssModule},
               {"services", services},
               {"databases", databases}});
    return kSuccess;
  }
  std::cout << "Directory logins: enabled (" << record.pamModule << ", "
            << record.nssModule << ")\n";
  for (const auto& service : services) {
    PrintField("  PAM " + service["service"].get<std::string>(),
               service["through"].get<std::string>() +
                   (service["wired"].get<bool>() ? "" : " (no longer wired)"));
  }
  for (const auto& database : databases) {
    PrintField("  NSS " + database["database"].get<std::string>(),
               std::string(kSwitchPath) +
                   (database["wired"].get<bool>() ? "" : " (no longer wired)"));
  }
  return kSuccess;
}

}  // namespace

void AddLoginCommands(CLI::App& app, Action& chosen) {
  CLI::App* login = app.add_subcommand(
      "login", "Let the joined domain's users log in on this host, or not");
  login->require_subcommand(1);

  auto options = std::make_shared<EnableOptions>();
  CLI::App* enable = login->add_subcommand(
      "enable", "Wire the directory plug-in's PAM and NSS modules in");
  enable->add_option("--service", options->services,
                     "A PAM service to wire (again for more); default: "
                     "login sshd su su-l sudo sudo-i, those present");
  OnParsed(*enable, chosen, [options] { return Enable(*options); });

  auto force = std::make_shared<bool>(false);
  CLI::App* disable = login->add_subcommand(
      "disable", "Put back every file that 'login enable' changed");
  disable->add_flag("--force", *force,
                    "Put them back even where they changed since");
  OnParsed(*disable, chosen, [force] { return Disable(*force); });

  auto json = std::make_shared<bool>(false);
  CLI::App* status =
      login->add_subcommand("status", "Say which services and databases are wired");
  AddJsonFlag(*status, *json);
  OnParsed(*status, chosen, [json] { return Status(*json); });
}

}  // namespace quarryauthctl
