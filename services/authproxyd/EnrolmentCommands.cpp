#include "services/authproxyd/EnrolmentCommands.h"

#include <openssl/pem.h>

#include <cstdio>
#include <iostream>
#include <memory>

#include "common/OpenSslHandles.h"
#include "common/PluginText.h"
#include "services/authproxyd/AccountRules.h"
#include "services/authproxyd/ClientIdentity.h"
#include "services/authproxyd/Enrolment.h"
#include "services/authproxyd/HostNameRules.h"
#include "services/authproxyd/ProxySettings.h"

namespace quarry::authproxyd {

namespace {

constexpr int kFailure = 1;
constexpr int kUsage = 2;

int Complain(const std::string& message, int status) {
  std::cerr << "quarry-authproxyd: " << message << "\n";
  return status;
}

// The SHA-256 thumbprint of the PEM certificate in path; throws
// SettingsError naming the file.
std::string ThumbprintOfFile(const std::string& path) {
  FILE* file = std::fopen(path.c_str(), "r");
  if (file == nullptr) {
    throw SettingsError("cannot read the certificate " + path);
  }
  const quarry::common::X509Pointer certificate(
      PEM_read_X509(file, nullptr, nullptr, nullptr));
  std::fclose(file);
  if (!certificate) {
    throw SettingsError(path + " holds no PEM certificate");
  }
  return CertificateThumbprint(certificate.get());
}

int Enroll(const std::string& settingsPath, const std::string& host,
           const std::string& certificateFile, std::string thumbprint) {
  const ProxySettings settings = ReadProxySettings(settingsPath);
  const std::string hostName = plugin::ToLower(host);
  if (!IsValidHostName(hostName)) {
    return Complain("\"" + host + "\" is not a fully qualified host name",
                    kUsage);
  }
  if (!IsNameInDomain(hostName, settings.domain)) {
    return Complain("\"" + host + "\" is not a name in the domain " +
                        settings.domain,
                    kUsage);
  }
  if (certificateFile.empty() && thumbprint.empty()) {
    return Complain("name the host's certificate with --certificate FILE or "
                    "its thumbprint with --thumbprint THUMBPRINT",
                    kUsage);
  }
  if (!certificateFile.empty()) thumbprint = ThumbprintOfFile(certificateFile);
  thumbprint = plugin::ToUpper(thumbprint);
  if (!IsValidThumbprint(thumbprint)) {
    return Complain("\"" + thumbprint +
                        "\" is not a SHA-256 thumbprint (32 hexadecimal pairs "
                        "joined by ':', as 'quarryauthctl host-cert "
                        "thumbprint' shows it)",
                    kUsage);
  }
  Enrolment enrolment = ReadEnrolment(settings.enrolmentFile);
  enrolment[thumbprint] = hostName;
  WriteEnrolment(settings.enrolmentFile, enrolment);
  std::cout << "Enrolled " << hostName << " with the certificate "
            << thumbprint << ".\n";
  return 0;
}

int Revoke(const std::string& settingsPath, const std::string& which) {
  const ProxySettings settings = ReadProxySettings(settingsPath);
  Enrolment enrolment = ReadEnrolment(settings.enrolmentFile);
  const std::string thumbprint = plugin::ToUpper(which);
  const std::string hostName = plugin::ToLower(which);
  std::size_t removed = 0;
  for (auto entry = enrolment.begin(); entry != enrolment.end();) {
    if (entry->first == thumbprint || entry->second == hostName) {
      std::cout << "Revoked the certificate " << entry->first << " of "
                << entry->second << ".\n";
      entry = enrolment.erase(entry);
      ++removed;
    } else {
      ++entry;
    }
  }
  if (removed == 0) {
    return Complain("no enrolled host or certificate is \"" + which + "\"",
                    kFailure);
  }
  WriteEnrolment(settings.enrolmentFile, enrolment);
  return 0;
}

int List(const std::string& settingsPath) {
  const ProxySettings settings = ReadProxySettings(settingsPath);
  for (const auto& entry : ReadEnrolment(settings.enrolmentFile)) {
    std::cout << entry.second << " " << entry.first << "\n";
  }
  return 0;
}

// Runs a command, turning a settings failure into words and a status.
std::function<int()> Guarded(std::function<int()> command) {
  return [command] {
    try {
      return command();
    } catch (const SettingsError& error) {
      return Complain(error.what(), kFailure);
    }
  };
}

}  // namespace

void AddEnrolmentCommands(CLI::App& app, const std::string& settingsPath,
                          std::function<int()>& chosen) {
  auto host = std::make_shared<std::string>();
  auto certificate = std::make_shared<std::string>();
  auto thumbprint = std::make_shared<std::string>();
  CLI::App* enroll = app.add_subcommand(
      "enroll", "Serve the host whose certificate this is, for its name only");
  enroll->add_option("HOST", *host, "The host's fully qualified name")
      ->required();
  CLI::Option* byFile = enroll->add_option(
      "--certificate", *certificate, "The host's certificate (PEM)");
  CLI::Option* byThumbprint = enroll->add_option(
      "--thumbprint", *thumbprint,
      "Its SHA-256 thumbprint, as 'quarryauthctl host-cert thumbprint' shows");
  byFile->excludes(byThumbprint);
  enroll->callback([&chosen, &settingsPath, host, certificate, thumbprint] {
    chosen = Guarded([&settingsPath, host, certificate, thumbprint] {
      return Enroll(settingsPath, *host, *certificate, *thumbprint);
    });
  });

  auto which = std::make_shared<std::string>();
  CLI::App* revoke = app.add_subcommand(
      "revoke", "Stop serving a host (by name) or a certificate (by thumbprint)");
  revoke->add_option("HOST-OR-THUMBPRINT", *which)->required();
  revoke->callback([&chosen, &settingsPath, which] {
    chosen = Guarded([&settingsPath, which] { return Revoke(settingsPath, *which); });
  });

  CLI::App* list = app.add_subcommand(
      "list", "The enrolled hosts and their certificates' thumbprints");
  list->callback([&chosen, &settingsPath] {
    chosen = Guarded([&settingsPath] { return List(settingsPath); });
  });
}

}  // namespace quarry::authproxyd
