#include "PamAuthUpdate.h"

#include <dirent.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <set>
#include <sstream>

#include "ExitStatus.h"
#include "PamFileText.h"
#include "SystemFile.h"
#include "common/ChildProcess.h"

namespace quarryauthctl {

const char kPamAuthUpdatePath[] = "/usr/sbin/pam-auth-update";
const char kProfileName[] = "quarryauthctl";

namespace {

const char kProfileFolder[] = "/usr/share/pam-configs";
const char kStateFolder[] = "/var/lib/pam";
const char kCommonAuth[] = "/etc/pam.d/common-auth";

// Everything pam-auth-update writes besides debconf's own database.
std::vector<std::string> FilesItWrites() {
  std::vector<std::string> files;
  for (const char* type : {"auth", "account", "password", "session",
                           "session-noninteractive"}) {
    files.push_back(std::string("/etc/pam.d/common-") + type);
    // Its copy of the file it replaced.
    files.push_back(std::string("/etc/pam.d/common-") + type + ".pam-old");
    files.push_back(std::string(kStateFolder) + "/" + type);
  }
  files.push_back(std::string(kStateFolder) + "/seen");
  return files;
}

std::string ProfilePath() {
  return std::string(kProfileFolder) + "/" + kProfileName;
}

std::string Rule(const std::string& control, const std::string& module,
                 const std::list<std::string>& parameters) {
  std::string rule = "\t" + control + "\t" + module;
  for (const auto& parameter : parameters) rule += " " + parameter;
  return rule + "\n";
}

// The parameters without those that take the password of a module before.
std::list<std::string> FirstModuleParameters(
    const std::list<std::string>& parameters) {
  std::list<std::string> first;
  for (const auto& parameter : parameters) {
    if (parameter != "use_first_pass" && parameter != "try_first_pass" &&
        parameter != "use_authtok") {
      first.push_back(parameter);
    }
  }
  return first;
}

std::set<std::string> SeenProfiles() {
  std::set<std::string> seen;
  const FileState state = ReadFileState(std::string(kStateFolder) + "/seen");
  std::istringstream lines(state.content);
  std::string line;
  while (std::getline(lines, line)) seen.insert(line);
  return seen;
}

bool IsDefaultProfile(const std::string& path) {
  std::istringstream lines(ReadFileState(path).content);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.rfind("Default:", 0) == 0) {
      return line.find("yes") != std::string::npos;
    }
  }
  return false;
}

struct FolderCloser {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

}  // namespace

bool HavePamAuthUpdate() { return ::access(kPamAuthUpdatePath, X_OK) == 0; }

std::string ProfileText(const std::string& module,
                        const std::list<std::string>& parameters,
                        const std::string& localUserModule) {
  std::string text =
      "Name: Directory logins through " + module +
      " (quarryauthctl login enable)\n"
      "Default: no\n"
      "Priority: 128\n"
      "\n"
      "Auth-Type: Primary\n"
      "Auth:\n" +
      Rule("[success=end default=ignore]", module, parameters) +
      "Auth-Initial:\n" +
      Rule("[success=end default=ignore]", module,
           FirstModuleParameters(parameters)) +
      "Account-Type: Additional\n"
      "Account:\n";
  if (!localUserModule.empty()) text += Rule("sufficient", localUserModule, {});
  text += Rule("[default=bad success=ok user_unknown=ignore]", module, {}) +
          "Session-Type: Additional\n"
          "Session-Interactive-Only: yes\n"
          "Session:\n" +
          Rule("optional", module, {});
  return text;
}

void RequireNoUnseenDefaultProfiles() {
  const std::set<std::string> seen = SeenProfiles();
  std::unique_ptr<DIR, FolderCloser> folder(::opendir(kProfileFolder));
  if (!folder) return;
  std::string unseen;
  while (const dirent* entry = ::readdir(folder.get())) {
    const std::string name = entry->d_name;
    if (name == "." || name == ".." || name == kProfileName ||
        seen.count(name) != 0) {
      continue;
    }
    if (IsDefaultProfile(std::string(kProfileFolder) + "/" + name)) {
      unseen += (unseen.empty() ? "'" : ", '") + name + "'";
    }
  }
  if (!unseen.empty()) {
    throw Failure("pam-auth-update would also turn on the profiles " + unseen +
                  " that it has not offered yet; run 'pam-auth-update' to "
                  "decide on them first (nothing was changed)");
  }
}

bool CommonAuthNames(const std::string& module) {
  const FileState state = ReadFileState(kCommonAuth);
  if (!state.exists) return false;
  try {
    return PamFileText(kCommonAuth, state.content).FindRule("auth", module) !=
           PamFileText::npos;
  } catch (const std::exception&) {
    return state.content.find(module) != std::string::npos;
  }
}

void EnableProfile(const std::string& profileText, const std::string& module,
                   FileChanges& changes) {
  const std::vector<std::string> files = FilesItWrites();
  changes.Write(ProfilePath(), profileText);
  std::vector<FileState> before;
  for (const auto& file : files) before.push_back(ReadFileState(file));
  // Never a question on a terminal: the tool decides, or refuses.
  ::setenv("DEBIAN_FRONTEND", "noninteractive", 1);
  const quarry::common::ChildResult run = quarry::common::RunChild(
      {kPamAuthUpdatePath, "--enable", kProfileName}, "",
      std::chrono::seconds(120), quarry::common::ChildErrors::IntoOutput);
  changes.NoteChangesSince(files, before);
  if (run.exitStatus == 0 && CommonAuthNames(module)) return;
  std::string words = run.output;
  while (!words.empty() && (words.back() == '\n' || words.front() == '\n')) {
    if (words.back() == '\n') words.pop_back();
    if (!words.empty() && words.front() == '\n') words.erase(0, 1);
  }
  if (!run.started) words = "it could not be started";
  if (run.timedOut) words = "it did not finish within 120 s";
  throw Failure("pam-auth-update did not put '" + module +
                "' into the common-* files" +
                (words.empty() ? std::string() : ": " + words));
}

}  // namespace quarryauthctl
