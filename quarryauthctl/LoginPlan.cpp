#include "LoginPlan.h"

#include <quarryauth/authentication.h>
#include <quarryauth/systemconfiguration.h>

#include <iostream>
#include <sstream>

#include "ExitStatus.h"
#include "FileChanges.h"
#include "NameServiceSwitchFile.h"
#include "PamAuthUpdate.h"
#include "PamFileText.h"
#include "StoreCommands.h"
#include "SystemFile.h"

namespace quarryauthctl {

namespace qa = quarry::authentication;
namespace sc = SystemConfiguration;

const char* const kDefaultServices[6] = {"login", "sshd", "su",
                                         "su-l",  "sudo", "sudo-i"};

namespace {

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
  plan.original = text;
  plan.edited = file.Text();
  return plan;
}

}  // namespace

Modules PluginModules() {
  const qa::ActiveDirectoryProvider provider(ConfiguredProvider());
  Modules modules;
  modules.pam.module = provider.PAMModule();
  modules.pam.parameters = provider.PAMModuleParameters();
  modules.nss = provider.NSSModule();
  modules.nssCriteria = provider.NSSModuleParameters();
  return modules;
}

std::vector<ServicePlan> PlanServices(const std::vector<std::string>& named,
                                      const Modules& modules) {
  std::vector<ServicePlan> plans;
  if (!named.empty()) {
    for (const auto& name : named) {
      if (FileExists(PamServicePath(name))) {
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
    if (!FileExists(PamServicePath(name))) {
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

SwitchPlan PlanSwitch(const Modules& modules,
                      const std::vector<std::string>& databases,
                      std::vector<std::string>& added) {
  SwitchPlan plan;
  plan.original = ReadSystemFile(kSwitchPath);
  ParseSwitch(plan.original);  // the model must read it whole to change it
  plan.edited = plan.original;
  for (const auto& database : databases) {
    if (DatabaseLineNames(plan.edited, database, modules.nss)) continue;
    plan.edited =
        WithServiceAdded(plan.edited, database, SwitchService(modules));
    added.push_back(database);
  }
  return plan;
}

}  // namespace quarryauthctl
