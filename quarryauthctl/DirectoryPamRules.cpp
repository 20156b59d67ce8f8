#include "DirectoryPamRules.h"

#include <cctype>
#include <vector>

#include "ExitStatus.h"

namespace quarryauthctl {

namespace {

std::vector<std::string> Words(const std::list<std::string>& words) {
  return std::vector<std::string>(words.begin(), words.end());
}

// The control for the directory's auth rule after pam_unix.so's: the same
// outcome as pam_unix.so's success (leave the stack, or jump to where
// pam_unix.so jumps), and nothing decided by its failure.
std::string AuthControlAfter(const std::string& unixControl,
                             const std::string& path) {
  if (unixControl == "sufficient") return "sufficient";
  const std::string key = "success=";
  const std::size_t at = unixControl.find(key);
  if (unixControl.front() == '[' && at != std::string::npos) {
    std::size_t end = at + key.size();
    while (end < unixControl.size() && std::isdigit(
                                           static_cast<unsigned char>(unixControl[end]))) {
      ++end;
    }
    const std::string jump = unixControl.substr(at + key.size(), end - at - key.size());
    if (!jump.empty() && jump != "0") {
      return "[success=" + jump + " default=ignore]";
    }
  }
  throw ModelRefusal("pam_unix.so decides the auth stack of '" + path +
                     "' alone (control '" + unixControl +
                     "'), so a directory user could never pass it; make its "
                     "control 'sufficient' or a '[success=N default=ignore]' "
                     "jump first (the file is left untouched)");
}

}  // namespace

void AddDirectoryRules(PamFileText& file, const std::string& path,
                       const DirectoryModule& directory) {
  const std::size_t unixRule = file.FindRule("auth", "pam_unix.so");
  if (unixRule == PamFileText::npos) {
    throw ModelRefusal("the auth stack of '" + path +
                       "' has no pam_unix.so rule to place the directory's "
                       "module after (the file is left untouched)");
  }
  file.InsertRule(unixRule + 1, "auth",
                  AuthControlAfter(file.ControlOf(unixRule), path),
                  directory.module, Words(directory.parameters));
  // A stack that the file does not have stays absent: PAM's own default
  // for it is better than a stack of the directory's rule alone.
  if (file.HasRules("account")) {
    if (!directory.localUserModule.empty()) {
      file.InsertRule(file.EndOfFacility("account"), "account", "sufficient",
                      directory.localUserModule, {});
    }
    file.InsertRule(file.EndOfFacility("account"), "account",
                    "[default=bad success=ok user_unknown=ignore]",
                    directory.module, {});
  }
  if (file.HasRules("session")) {
    file.InsertRule(file.EndOfFacility("session"), "session", "optional",
                    directory.module, {});
  }
}

}  // namespace quarryauthctl
