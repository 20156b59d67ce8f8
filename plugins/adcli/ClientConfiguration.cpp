#include "ClientConfiguration.h"

#include <krb5.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "common/PluginText.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <sstream>

#include "AdcliOutput.h"
#include "common/ChildProcess.h"
#include "common/DurableFile.h"
#include "common/FileContents.h"

namespace quarryadcli {

const char kSssdSettingsFolder[] = "/etc/sssd/conf.d";
const char kKerberosSettingsPath[] = "/etc/krb5.conf";
const char kKerberosDropInFolder[] = "/etc/krb5.conf.d";
const char kSssdPath[] = "/usr/sbin/sssd";

namespace {

// Marks the include line that this plug-in added, so that only that line
// is taken away again.
const char kIncludeMark[] =
    "# quarryadcli: the joined domain's Kerberos settings";

// The file's text; empty, with exists false, when it cannot be read.
std::string ReadWhole(const std::string& path, bool& exists) {
  std::string text;
  exists = quarry::common::ReadFileContents(path, text) == 0;
  return text;
}

bool Write(const std::string& path, const std::string& text, mode_t mode) {
  const int error = quarry::common::ReplaceFileContents(path, text, mode);
  if (error != 0) {
    syslog(LOG_ERR, "quarryadcli: cannot write %s: %s", path.c_str(),
           std::strerror(error));
  }
  return error == 0;
}

bool EnsureFolder(const char* path, mode_t mode) {
  if (::mkdir(path, mode) == 0 || errno == EEXIST) return true;
  syslog(LOG_ERR, "quarryadcli: cannot create %s: %s", path,
         std::strerror(errno));
  return false;
}

void Remove(const std::string& path) {
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
    syslog(LOG_ERR, "quarryadcli: cannot remove %s: %s", path.c_str(),
           std::strerror(errno));
  }
}

std::string SssdSettings(const Membership& membership) {
  const std::string& domain = membership.domain;
  std::string text =
      "# Written by quarryadcli when this host joined " + domain +
      "; removed when it leaves.\n"
      "[sssd]\n"
      "services = nss, pam\n"
      "\n"
      "[domain/" + domain + "]\n"
      "enabled = true\n"
      "id_provider = ad\n"
      "auth_provider = ad\n"
      "access_provider = ad\n"
      "ad_domain = " + domain + "\n"
      "krb5_realm = " + membership.realm + "\n"
      "ad_hostname = " + membership.hostName + "\n"
      "ldap_id_mapping = true\n"
      "use_fully_qualified_names = true\n"
      "cache_credentials = true\n"
      "default_shell = /bin/bash\n"
      "fallback_homedir = /home/%u@%d\n";
  if (!membership.preferredDomainControllers.empty()) {
    text += "ad_server = ";
    for (std::size_t i = 0; i < membership.preferredDomainControllers.size(); ++i) {
      text += (i == 0 ? "" : ", ") + membership.preferredDomainControllers[i];
    }
    text += ", _srv_\n";
  }
  return text;
}

std::string KerberosDropIn(const Membership& membership) {
  const std::string domain = quarry::plugin::ToLower(membership.domain);
  std::string text = "# Written by quarryadcli when this host joined " +
                     domain + "; removed when it leaves.\n[realms]\n " +
                     membership.realm + " = {\n";
  if (!membership.domainController.empty()) {
    text += "  kdc = " + membership.domainController + "\n";
  }
  text += " }\n[domain_realm]\n ." + domain + " = " + membership.realm +
          "\n " + domain + " = " + membership.realm + "\n";
  return text;
}

// /etc/krb5.conf with a marked include of the drop-in folder first, unless
// it includes that folder already; false when it need not change.
bool WithInclude(const std::string& settings, std::string& changed) {
  const std::string include = std::string("includedir ") + kKerberosDropInFolder;
  std::istringstream lines(settings);
  std::string line;
  while (std::getline(lines, line)) {
    const std::string::size_type start = line.find_first_not_of(" \t");
    if (start != std::string::npos && line.compare(start, include.size(), include) == 0) {
      return false;
    }
  }
  changed = std::string(kIncludeMark) + "\n" + include + "/\n" + settings;
  return true;
}

// /etc/krb5.conf without the marked include; false when it has none.
bool WithoutInclude(const std::string& settings, std::string& changed) {
  const std::string marked = std::string(kIncludeMark) + "\n" + "includedir " +
                             kKerberosDropInFolder + "/\n";
  const std::string::size_type at = settings.find(marked);
  if (at == std::string::npos) return false;
  changed = settings;
  changed.erase(at, marked.size());
  return true;
}

// systemd runs this host when it is process 1 of this PID namespace; only
// then is there a service manager to ask.
bool ServiceManagerRuns() {
  std::ifstream comm("/proc/1/comm");
  std::string name;
  return std::getline(comm, name) && name == "systemd";
}

void AskSssd(const char* action) {
  if (!ServiceManagerRuns()) return;
  const quarry::common::ChildResult result = quarry::common::RunChild(
      {"systemctl", action, "sssd.service"}, "", std::chrono::seconds(60));
  if (result.exitStatus != 0) {
    syslog(LOG_WARNING, "quarryadcli: systemctl %s sssd.service failed: %s",
           action, result.errors.c_str());
  }
}

bool SssdInstalled() {
  struct stat status;
  return ::stat(kSssdPath, &status) == 0 && S_ISREG(status.st_mode) &&
         ::access(kSssdPath, X_OK) == 0;
}

// Kerberos reads /etc/krb5.conf and what it includes when a context is
// made; a file it cannot parse fails here, as it would fail SSSD later.
bool KerberosSettingsReadable() {
  krb5_context context = nullptr;
  const krb5_error_code error = krb5_init_context(&context);
  if (error == 0) {
    krb5_free_context(context);
    return true;
  }
  const char* message = krb5_get_error_message(nullptr, error);
  syslog(LOG_ERR, "quarryadcli: the Kerberos settings in %s cannot be read: %s",
         kKerberosSettingsPath, message);
  krb5_free_error_message(nullptr, message);
  return false;
}

}  // namespace

ADClientStatus CheckClientCanBeConfigured() {
  if (!SssdInstalled()) {
    syslog(LOG_ERR,
           "quarryadcli: SSSD is not installed (no %s); the domain's users "
           "could not log in after a join",
           kSssdPath);
    return kStatusServiceMissing;
  }
  if (!KerberosSettingsReadable()) return kStatusBadConfiguration;
  return ADCLIENT_STATUS_SUCCESS;
}

std::string SssdSettingsPath(const Membership& membership) {
  return std::string(kSssdSettingsFolder) + "/quarryadcli-" +
         quarry::plugin::ToLower(membership.domain) + ".conf";
}

std::string KerberosDropInPath(const Membership& membership) {
  return std::string(kKerberosDropInFolder) + "/quarryadcli-" +
         membership.realm + ".conf";
}

ADClientStatus ConfigureClient(const Membership& membership) {
  bool existed = false;
  const std::string settings = ReadWhole(kKerberosSettingsPath, existed);
  std::string included;
  const bool addInclude = WithInclude(settings, included);
  const bool written =
      EnsureFolder("/etc/sssd", 0711) && EnsureFolder(kSssdSettingsFolder, 0711) &&
      Write(SssdSettingsPath(membership), SssdSettings(membership), 0600) &&
      EnsureFolder(kKerberosDropInFolder, 0755) &&
      Write(KerberosDropInPath(membership), KerberosDropIn(membership), 0644) &&
      (!addInclude || Write(kKerberosSettingsPath, included, 0644));
  if (!written) {
    // Back to the configuration as it was before the join.
    Remove(SssdSettingsPath(membership));
    Remove(KerberosDropInPath(membership));
    return kStatusWriteFault;
  }
  AskSssd("restart");
  return ADCLIENT_STATUS_SUCCESS;
}

ADClientStatus UnconfigureClient(const Membership& membership) {
  Remove(SssdSettingsPath(membership));
  Remove(KerberosDropInPath(membership));
  bool existed = false;
  const std::string settings = ReadWhole(kKerberosSettingsPath, existed);
  std::string restored;
  ADClientStatus status = ADCLIENT_STATUS_SUCCESS;
  if (existed && WithoutInclude(settings, restored)) {
    if (restored.empty()) {
      Remove(kKerberosSettingsPath);  // the file was ours alone
    } else if (!Write(kKerberosSettingsPath, restored, 0644)) {
      status = kStatusWriteFault;
    }
  }
  AskSssd("try-restart");
  return status;
}

}  // namespace quarryadcli
