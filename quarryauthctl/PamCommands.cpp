#include "PamCommands.h"

#include <quarryauth/systemconfiguration.h>

#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "ExitStatus.h"
#include "Output.h"
#include "PamFileText.h"
#include "SystemFile.h"

namespace quarryauthctl {

namespace sc = SystemConfiguration;

namespace {

const sc::PAMFacility::Facility kFacilities[] = {
    sc::PAMFacility::Account, sc::PAMFacility::Auth, sc::PAMFacility::Password,
    sc::PAMFacility::Session};

sc::PAMPolicy ReadPolicy(const std::string& service) {
  const std::string path = PamServicePath(service);
  std::istringstream text(ReadSystemFile(path));
  sc::PAMPolicy policy(service);
  try {
    text >> policy;
  } catch (const std::exception& error) {
    throw ModelRefusal("the PAM model cannot read '" + path + "' (" +
                       error.what() + "); it is left untouched");
  }
  return policy;
}

sc::PAMFacility ParseFacility(const std::string& word) {
  try {
    return sc::PAMFacility(word);
  } catch (const sc::InvalidFacilityException& error) {
    throw UsageError(std::string(error.what()) +
                     " (one of account, auth, password, session)");
  }
}

sc::PAMControl ParseControl(const std::string& word) {
  try {
    return sc::PAMControl(word);
  } catch (const sc::InvalidControlException& error) {
    throw UsageError(error.what());
  }
}

std::string StackName(const sc::PAMFacility& facility,
                      const std::string& path) {
  return "the " + std::string(facility) + " stack of '" + path + "'";
}

Json EntryJson(sc::PAMEntry entry) {
  const auto& arguments = entry.parameters();
  return {{"control", std::string(entry.control())},
          {"module", entry.module()},
          {"arguments",
           Json(std::vector<std::string>(arguments.begin(), arguments.end()))}};
}

int Show(const std::string& service, bool json) {
  const sc::PAMPolicy policy = ReadPolicy(service);
  if (!json) {
    std::cout << policy;
    return kSuccess;
  }
  // Looking a stack up inserts it, so a copy is asked.
  sc::PAMPolicy copy = policy;
  Json stacks = Json::object();
  for (const auto facility : kFacilities) {
    const sc::PAMStack& stack = copy[facility];
    if (stack.empty()) continue;
    Json entries = Json::array();
    for (const auto& entry : stack) entries.push_back(EntryJson(entry));
    stacks[std::string(sc::PAMFacility(facility))] = entries;
  }
  PrintJson({{"service", service},
             {"path", PamServicePath(service)},
             {"stacks", stacks}});
  return kSuccess;
}

struct AddOptions {
  std::string service, facility, control, module;
  std::vector<std::string> arguments;
  std::string before, after;
};

// Writes the edited file, keeping the previous one as its backup.
void WriteEdited(const std::string& path, const std::string& before,
                 const PamFileText& edited) {
  ReplaceSystemFile(PamBackupPath(path), before);
  ReplaceSystemFile(path, edited.Text());
}

std::size_t FindRule(const PamFileText& file, const sc::PAMFacility& facility,
                     const std::string& module, const std::string& path) {
  const std::size_t line = file.FindRule(std::string(facility), module);
  if (line == PamFileText::npos) {
    throw Failure("'" + module + "' is not in " + StackName(facility, path));
  }
  return line;
}

int Add(const AddOptions& options) {
  const sc::PAMFacility facility = ParseFacility(options.facility);
  const std::string control = std::string(ParseControl(options.control));
  const std::string path = PamServicePath(options.service);
  const std::string before = ReadSystemFile(path);
  PamFileText file(path, before);
  const std::string stack = std::string(facility);
  if (file.FindRule(stack, options.module) != PamFileText::npos) {
    throw Failure("'" + options.module + "' is already in " +
                  StackName(facility, path) + "; use set-args to change it");
  }
  std::size_t at = file.EndOfFacility(stack);
  if (!options.before.empty()) at = FindRule(file, facility, options.before, path);
  if (!options.after.empty()) {
    at = FindRule(file, facility, options.after, path) + 1;
  }
  file.InsertRule(at, stack, control, options.module, options.arguments);
  WriteEdited(path, before, file);
  std::cout << "Added '" << options.module << "' to "
            << StackName(facility, path) << ".\n";
  return kSuccess;
}

int Remove(const std::string& service, const std::string& facilityWord,
           const std::string& module) {
  const sc::PAMFacility facility = ParseFacility(facilityWord);
  const std::string path = PamServicePath(service);
  const std::string before = ReadSystemFile(path);
  PamFileText file(path, before);
  file.RemoveRule(FindRule(file, facility, module, path));
  WriteEdited(path, before, file);
  std::cout << "Removed '" << module << "' from " << StackName(facility, path)
            << ".\n";
  return kSuccess;
}

int SetArguments(const AddOptions& options) {
  const sc::PAMFacility facility = ParseFacility(options.facility);
  const std::string path = PamServicePath(options.service);
  const std::string before = ReadSystemFile(path);
  PamFileText file(path, before);
  file.SetArguments(FindRule(file, facility, options.module, path),
                    options.arguments);
  WriteEdited(path, before, file);
  std::cout << "Arguments of '" << options.module << "' in "
            << StackName(facility, path) << ": " << JoinWords(options.arguments)
            << '\n';
  return kSuccess;
}

void AddShow(CLI::App& pam, Action& chosen) {
  auto service = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  CLI::App* show = pam.add_subcommand("show", "Show a service's rules");
  show->add_option("SERVICE", *service, "File name in /etc/pam.d")->required();
  AddJsonFlag(*show, *json);
  OnParsed(*show, chosen, [service, json] { return Show(*service, *json); });
}

void AddAdd(CLI::App& pam, Action& chosen) {
  auto options = std::make_shared<AddOptions>();
  CLI::App* add = pam.add_subcommand("add", "Add a rule");
  add->add_option("SERVICE", options->service, "File name in /etc/pam.d")
      ->required();
  add->add_option("FACILITY", options->facility,
                  "account, auth, password or session")
      ->required();
  add->add_option("CONTROL", options->control,
                  "required, requisite, sufficient, optional, include, "
                  "substack or [value=action ...]")
      ->required();
  add->add_option("MODULE", options->module, "The module")->required();
  add->add_option("ARGS", options->arguments, "The module's arguments");
  auto* before = add->add_option("--before", options->before,
                                 "Insert before this module's rule");
  add->add_option("--after", options->after, "Insert after this module's rule")
      ->excludes(before);
  OnParsed(*add, chosen, [options] { return Add(*options); });
}

void AddRemove(CLI::App& pam, Action& chosen) {
  auto options = std::make_shared<AddOptions>();
  CLI::App* remove = pam.add_subcommand("remove", "Remove a module's rule");
  remove->add_option("SERVICE", options->service, "File name in /etc/pam.d")
      ->required();
  remove
      ->add_option("FACILITY", options->facility,
                   "account, auth, password or session")
      ->required();
  remove->add_option("MODULE", options->module, "The module")->required();
  OnParsed(*remove, chosen, [options] {
    return Remove(options->service, options->facility, options->module);
  });
}

void AddSetArguments(CLI::App& pam, Action& chosen) {
  auto options = std::make_shared<AddOptions>();
  CLI::App* set = pam.add_subcommand(
      "set-args", "Replace the arguments of a module's rule");
  set->add_option("SERVICE", options->service, "File name in /etc/pam.d")
      ->required();
  set->add_option("FACILITY", options->facility,
                  "account, auth, password or session")
      ->required();
  set->add_option("MODULE", options->module, "The module")->required();
  set->add_option("ARGS", options->arguments,
                  "The new arguments (none: no arguments)");
  OnParsed(*set, chosen, [options] { return SetArguments(*options); });
}

}  // namespace

void AddPamCommands(CLI::App& app, Action& chosen) {
  CLI::App* pam = app.add_subcommand(
      "pam", "Show and edit PAM service files in /etc/pam.d");
  pam->require_subcommand(1);
  AddShow(*pam, chosen);
  AddAdd(*pam, chosen);
  AddRemove(*pam, chosen);
  AddSetArguments(*pam, chosen);
}

}  // namespace quarryauthctl
