#include "LoginCommands.h"

#include <quarryauth/authentication.h>
#include <quarryauth/systemconfiguration.h>

#include <iostream>
#include <list>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "DirectoryPamRules.h"
#include "ExitStatus.h"
#include "FileChanges.h"
#include "HostModules.h"
#include "LoginRecord.h"
#include "NameServiceSwitchFile.h"
#include "Output.h"
#include "PamAuthUpdate.h"
#include "PamFileText.h"
#include "StoreCommands.h"
#include "SystemFile.h"

namespace quarryauthctl {

namespace qa = quarry::authentication;
namespace sc = SystemConfiguration;

namespace {

// The services through which people log in on a Debian host.
const char* const kDefaultServices[] = {"login", "sshd", "su",
                                        "su-l",  "sudo", "sudo-i"};
const char kThroughPamAuthUpdate[] = "pam-auth-update";

std::string JoinedDomain() {
  try {
    return qa::ActiveDirectoryConfigStore().GetDomainName();
  } catch (const qa::ConfigurationError&) {
    return std::string();  // no record of a joined domain
  }
}

struct Modules {
  DirectoryModule pam;
  std::string nss;
  std::list<std::string> nssCriteria;
};

Modules PluginModules() {
  const qa::ActiveDirectoryProvider provider(ConfiguredProvider());
  Modules modules;
  modules.pam.module = provider.PAMModule();
  modules.pam.parameters = provider.PAMModuleParameters();
  modules.nss = provider.NSSModule();
  modules.nssCriteria = provider.NSSModuleParameters();
  return modules;
}

bool ModelReads(const std::string& service, const std::string& text) {
  std::istringstream in(text);
  sc::PAMPolicy policy(service);
  try {
    in >> policy;
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

// How one service gets the directory's modules.
struct ServicePlan {
  std::string name;
  std::string path;
  bool throughPamAuthUpdate = false;
  std::string edited;  // the file's new text, when edited here
  bool already = false;
};

ServicePlan PlanService(const std::string& name, const Modules& modules,
                        int depth = 0) {
  ServicePlan plan;
  plan.name = name;
  plan.path = PamServicePath(name);
  const std::string text = ReadSystemFile(plan.path);
  const bool common = name.rfind("common-", 0) == 0;
  if (common || !ModelReads(name, text)) {
    if (!HavePamAuthUpdate()) {
      throw ModelRefusal("'" + plan.path +
                         "' has lines that the PAM model cannot read "
                         "(\"@include\" or a leading '-') and this host has "
                         "no pam-auth-update to wire it; nothing was changed");
    }
    if (!common && text.find("common-auth") == std::string::npos) {
      throw ModelRefusal("'" + plan.path +
                         "' has lines that the PAM model cannot read and does "
                         "not include common-auth, so pam-auth-update cannot "
                         "wire it either; nothing was changed");
    }
    plan.throughPamAuthUpdate = true;
    plan.already = CommonAuthNames(modules.pam.module);
    return plan;
  }
  PamFileText file(plan.path, text);
  if (file.FindRule("auth", modules.pam.module) != PamFileText::npos) {
    plan.already = true;
    return plan;
  }
  // A service that takes its auth rules from another ("auth include su")
  // is wired where those rules are.
  const std::string included = file.IncludedService("auth");
  if (file.FindRule("auth", "pam_unix.so") == PamFileText::npos &&
      !included.empty() && depth < 8) {
    const ServicePlan source = PlanService(included, modules, depth + 1);
    if (!source.throughPamAuthUpdate) {
      throw ModelRefusal("'" + plan.path + "' takes its auth rules from '" +
                         included + "'; wire '" + included +
                         "' instead (nothing was changed)");
    }
    plan.throughPamAuthUpdate = true;
    plan.already = source.already;
    return plan;
  }
  AddDirectoryRules(file, plan.path, modules.pam);
  plan.edited = file.Text();
  return plan;
}

std::vector<ServicePlan> PlanServices(const std::vector<std::string>& named,
                                      const Modules& modules) {
  std::vector<ServicePlan> plans;
  if (!named.empty()) {
    for (const auto& name : named) {
      if (ReadFileState(PamServicePath(name)).exists) {
        plans.push_back(PlanService(name, modules));
        continue;
      }
      throw Failure("there is no PAM service '" + name + "' ('" +
                    PamServicePath(name) + "' does not exist); nothing was "
                    "changed");
    }
    return plans;
  }
  for (const char* name : kDefaultServices) {
    if (!ReadFileState(PamServicePath(name)).exists) {
      std::cout << "Skipped PAM service '" << name << "': there is no '"
                << PamServicePath(name) << "'.\n";
      continue;
    }
    plans.push_back(PlanService(name, modules));
  }
  if (plans.empty()) throw Failure("none of the usual PAM services is here");
  return plans;
}

std::string SwitchService(const Modules& modules) {
  std::string service = modules.nss;
  if (!modules.nssCriteria.empty()) {
    std::string criteria;
    for (const auto& word : modules.nssCriteria) {
      criteria += (criteria.empty() ? "" : " ") + word;
    }
    service += " [" + criteria + "]";
  }
  return service;
}

// The name-service switch with the module added to each database it serves
// that does not name it yet; those databases in added.
std::string PlanSwitch(const Modules& modules,
                       const std::vector<std::string>& databases,
                       std::vector<std::string>& added) {
  ReadSwitch();  // the model must read the file whole before it is changed
  std::string text = ReadSystemFile(kSwitchPath);
  for (const auto& database : databases) {
    if (DatabaseLineNames(text, database, modules.nss)) continue;
    text = WithServiceAdded(text, database, SwitchService(modules));
    added.push_back(database);
  }
  return text;
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
    changes.Write(PamBackupPath(plan.path), ReadSystemFile(plan.path));
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
  const std::string switchText = PlanSwitch(modules, databases, record.databases);
  FileChanges changes;
  try {
    ApplyServices(plans, modules, changes, record);
    if (!record.databases.empty()) {
      changes.Write(std::string(kSwitchPath) + ".quarryauthctl-backup",
                    ReadSystemFile(kSwitchPath));
      changes.Write(kSwitchPath, switchText);
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
