#include "HostCertCommands.h"

#include <netdb.h>
#include <unistd.h>

#include <iostream>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "ExitStatus.h"
#include "HostCertificate.h"
#include "InputRules.h"

namespace quarryauthctl {

namespace {

// The host's fully qualified name, as the resolver gives it.
std::string CanonicalHostName() {
  char name[256] = {};
  if (::gethostname(name, sizeof name - 1) != 0) {
    throw Failure("cannot read the host name");
  }
  addrinfo hints{};
  hints.ai_flags = AI_CANONNAME;
  addrinfo* found = nullptr;
  std::string canonical = name;
  if (::getaddrinfo(name, nullptr, &hints, &found) == 0) {
    if (found != nullptr && found->ai_canonname != nullptr) {
      canonical = found->ai_canonname;
    }
    ::freeaddrinfo(found);
  }
  return canonical;
}

struct CreateOptions {
  std::string name;
  bool selfSigned = false;
  bool replace = false;
  int days = 825;
};

int Create(const CreateOptions& options) {
  const std::string hostName =
      options.name.empty() ? CanonicalHostName() : options.name;
  RequireDnsName(hostName, "host name");
  const HostCertificatePaths paths = ReadHostCertificatePaths();
  if (options.selfSigned && !options.replace &&
      ::access(paths.certificate.c_str(), F_OK) == 0) {
    throw Failure("the host certificate " + paths.certificate +
                  " exists; add --replace to make a new one (the proxy must "
                  "then enrol its new thumbprint)");
  }
  if (EnsureHostKey(paths.key)) {
    std::cout << "Created the host key " << paths.key << ".\n";
  }
  if (!options.selfSigned) {
    WriteCertificateRequest(paths, hostName);
    std::cout << "Wrote a certificate request for " << hostName << " to "
              << paths.request
              << "; have an authority that the proxy trusts sign it, and "
                 "put the certificate in "
              << paths.certificate << ".\n";
    return kSuccess;
  }
  WriteSelfSignedCertificate(paths, hostName, options.days);
  const std::string thumbprint = HostCertificateThumbprint(paths.certificate);
  std::cout << "Created the host certificate " << paths.certificate << " for "
            << hostName << "; its thumbprint is " << thumbprint
            << ".\nEnrol it on the proxy: quarry-authproxyd enroll "
            << hostName << " --thumbprint " << thumbprint << "\n";
  return kSuccess;
}

int Thumbprint(bool json) {
  const HostCertificatePaths paths = ReadHostCertificatePaths();
  const std::string thumbprint = HostCertificateThumbprint(paths.certificate);
  if (json) {
    std::cout << nlohmann::json{{"certificate", paths.certificate},
                                {"thumbprint", thumbprint}}
                     .dump(2)
              << "\n";
  } else {
    std::cout << thumbprint << "\n";
  }
  return kSuccess;
}

}  // namespace

void AddHostCertCommands(CLI::App& app, Action& chosen) {
  CLI::App* hostCert = app.add_subcommand(
      "host-cert", "The host's key and certificate for the authentication proxy");
  hostCert->require_subcommand(1);

  auto options = std::make_shared<CreateOptions>();
  CLI::App* create = hostCert->add_subcommand(
      "create",
      "Create the host's key (if there is none) and a certificate request, "
      "or with --self-signed a certificate to enrol by its thumbprint");
  create->add_option("--name", options->name,
                     "The host's fully qualified name (default: the host's)");
  create->add_flag("--self-signed", options->selfSigned,
                   "A self-signed certificate instead of a request");
  create->add_flag("--replace", options->replace,
                   "Replace an existing self-signed certificate");
  create->add_option("--days", options->days, "How long it is valid")
      ->check(CLI::Range(1, 3650));
  OnParsed(*create, chosen, [options] { return Create(*options); });

  auto json = std::make_shared<bool>(false);
  CLI::App* thumbprint = hostCert->add_subcommand(
      "thumbprint", "The SHA-256 thumbprint that the proxy enrols");
  AddJsonFlag(*thumbprint, *json);
  OnParsed(*thumbprint, chosen, [json] { return Thumbprint(*json); });
}

}  // namespace quarryauthctl
