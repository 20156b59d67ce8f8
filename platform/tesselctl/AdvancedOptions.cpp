#include <quarryauth/platform/tesselctl/AdvancedOptions.h>

#include <charconv>
#include <cstdint>
#include <map>

#include <quarryauth/platform/tesselctl/AdvancedIntegerOption.h>
#include <quarryauth/platform/tesselctl/HostCtlException.h>
#include "platform/tesselctl/SettingsFile.h"

namespace HostCtl {
namespace Adv {

namespace {

const char kAdvancedSettingsPath[] = "/etc/quarry/advanced.conf";

struct DeclaredIntegerOption {
  const char* path;
  int64_t defaultValue;
};

// Every option the host knows. Options not listed here do not exist.
const DeclaredIntegerOption kDeclaredIntegerOptions[] = {
    // 0: trust any proxy certificate; 1: verify it against the stored
    // thumbprint.
    {"UserVars.ActiveDirectoryVerifyCAMCertificate", 1},
};

// Digits with an optional leading minus, within the 64-bit range.
bool ParseInteger(const std::string& text, int64_t& value) {
  const char* begin = text.data();
  const char* end = begin + text.size();
  const std::from_chars_result result = std::from_chars(begin, end, value);
  return result.ec == std::errc() && result.ptr == end && begin != end;
}

int64_t IntegerValue(const DeclaredIntegerOption& declared,
                     const std::map<std::string, std::string>& settings) {
  const auto found = settings.find(declared.path);
  if (found == settings.end()) return declared.defaultValue;
  int64_t value = 0;
  if (!ParseInteger(found->second, value)) {
    throw Lib::HostCtlException("Invalid value '" + found->second +
                                "' for the integer option " + declared.path +
                                " in '" + kAdvancedSettingsPath + "'");
  }
  return value;
}

// Walks the dotted path from root, adding the branches on the way, and
// returns the branch that holds the option; name receives the last label.
std::shared_ptr<AdvancedOptionBranch> BranchFor(
    const std::shared_ptr<AdvancedOptionBranch>& root, const std::string& path,
    std::string& name) {
  std::shared_ptr<AdvancedOptionBranch> branch = root;
  std::string::size_type start = 0;
  std::string::size_type dot;
  while ((dot = path.find('.', start)) != std::string::npos) {
    branch = branch->AddChildBranch(path.substr(start, dot - start));
    start = dot + 1;
  }
  name = path.substr(start);
  return branch;
}

}  // namespace

std::shared_ptr<AdvancedOptions> AdvancedOptions::Load() {
  std::map<std::string, std::string> settings;
  TesselCtl::ReadSettingsFile(kAdvancedSettingsPath, settings);

  auto root = std::make_shared<AdvancedOptionBranch>("");
  for (const DeclaredIntegerOption& declared : kDeclaredIntegerOptions) {
    std::string name;
    std::shared_ptr<AdvancedOptionBranch> branch =
        BranchFor(root, declared.path, name);
    branch->AddOption(std::make_shared<AdvancedIntegerOption>(
        name, declared.path, IntegerValue(declared, settings),
        declared.defaultValue));
  }
  return std::make_shared<AdvancedOptions>(root);
}

AdvancedOptions::AdvancedOptions(
    const std::shared_ptr<AdvancedOptionBranch>& root)
    : root_(root) {}

AdvancedOptions::~AdvancedOptions() = default;

std::shared_ptr<AdvancedOptionBranch> AdvancedOptions::GetRootBranch() const {
  return root_;
}

std::shared_ptr<AdvancedOption> AdvancedOptions::FindOption(
    const std::string& path) const {
  std::shared_ptr<AdvancedOptionBranch> branch = root_;
  std::string::size_type start = 0;
  std::string::size_type dot;
  while (branch && (dot = path.find('.', start)) != std::string::npos) {
    branch = branch->GetChildBranch(path.substr(start, dot - start));
    start = dot + 1;
  }
  return branch ? branch->GetOption(path.substr(start)) : nullptr;
}

}  // namespace Adv
}  // namespace HostCtl
