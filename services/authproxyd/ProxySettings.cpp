#include "services/authproxyd/ProxySettings.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "common/DistinguishedName.h"
#include "common/KeyValueFormat.h"
#include "common/PluginText.h"
#include "services/authproxyd/AccountRules.h"
#include "services/authproxyd/HostNameRules.h"

namespace quarry::authproxyd {

const char kDefaultSettingsPath[] = "/etc/quarry/authproxyd.conf";
const char kDefaultEnrolmentPath[] = "/etc/quarry/authproxyd.enrolled";

namespace {

using Pairs = std::map<std::string, std::string>;

const std::set<std::string> kKnownKeys = {
    "listen-address", "port",         "certificate-file", "key-file",
    "domain",         "domain-controller", "service-user", "password-file",
    "allowed-networks", "default-container", "base-container",
    "enrolment-file", "client-ca-file", "request-timeout-seconds",
    "adcli-timeout-seconds", "directory-workers", "max-connections",
    "receive-timeout-seconds"};

class Reader {
 public:
  Reader(const std::string& path, Pairs pairs)
      : path_(path), pairs_(std::move(pairs)) {}

  [[noreturn]] void Fail(const std::string& fault) const {
    throw SettingsError(path_ + ": " + fault);
  }

  std::string Optional(const std::string& key,
                       const std::string& fallback) const {
    const auto found = pairs_.find(key);
    return found == pairs_.end() ? fallback : found->second;
  }

  std::string Required(const std::string& key) const {
    const std::string value = Optional(key, std::string());
    if (value.empty()) Fail("\"" + key + "\" is not set");
    return value;
  }

  int Number(const std::string& key, int fallback, int lowest,
             int highest) const {
    const std::string text = Optional(key, std::to_string(fallback));
    const bool digits = !text.empty() && text.size() <= 9 &&
                        text.find_first_not_of("0123456789") == std::string::npos;
    const int value = digits ? std::stoi(text) : -1;
    if (value < lowest || value > highest) {
      Fail(key + " \"" + text + "\" is not a number from " +
           std::to_string(lowest) + " to " + std::to_string(highest));
    }
    return value;
  }

  void RejectUnknownKeys() const {
    for (const auto& pair : pairs_) {
      if (kKnownKeys.count(pair.first) == 0) {
        Fail("unknown key \"" + pair.first + "\"");
      }
    }
  }

 private:
  std::string path_;
  Pairs pairs_;
};

// The file without its comments: a line whose first character other than
// a blank is "#" reads as an empty line, so that line numbers stay right.
// (The host's shared format has no comments; this file is the proxy's own
// and is shipped with its settings explained.)
std::string WithoutComments(std::istream& in) {
  std::string text;
  std::string line;
  while (std::getline(in, line)) {
    const std::string::size_type first = line.find_first_not_of(" \t");
    if (first != std::string::npos && line[first] == '#') line.clear();
    text += line + "\n";
  }
  return text;
}

}  // namespace

std::map<std::string, std::string> ReadSettingsFile(const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    throw SettingsError("cannot read " + path + ": " + std::strerror(errno));
  }
  std::istringstream in(WithoutComments(file));
  std::map<std::string, std::string> pairs;
  int failedLine = 0;
  const common::KeyValueError error =
      common::ReadKeyValueStream(in, pairs, failedLine);
  if (error != common::KeyValueError::None) {
    throw SettingsError(path + ": " +
                        common::KeyValueErrorMessage(error, failedLine));
  }
  return pairs;
}

ProxySettings ReadProxySettings(const std::string& path) {
  const Reader reader(path, ReadSettingsFile(path));
  reader.RejectUnknownKeys();
  ProxySettings settings;
  settings.listenAddress = reader.Optional("listen-address", "0.0.0.0");
  if (!ParseIpv4Address(settings.listenAddress) ||
      settings.listenAddress.find(':') != std::string::npos) {
    reader.Fail("listen-address \"" + settings.listenAddress +
                "\" is not an IPv4 address");
  }
  settings.port = reader.Number("port", 443, 1, 65535);
  settings.certificateFile = reader.Required("certificate-file");
  settings.keyFile = reader.Required("key-file");
  settings.domain = reader.Required("domain");
  if (!IsValidDomainName(settings.domain)) {
    reader.Fail("domain \"" + settings.domain + "\" is not a DNS domain name");
  }
  settings.domainController = reader.Optional("domain-controller", "");
  if (!settings.domainController.empty() &&
      !IsValidDomainName(settings.domainController)) {
    reader.Fail("domain-controller \"" + settings.domainController +
                "\" is not a host name or IPv4 address");
  }
  settings.serviceUser = reader.Required("service-user");
  settings.passwordFile = reader.Required("password-file");
  const std::vector<std::string> networks =
      quarry::plugin::SplitWords(reader.Required("allowed-networks"));
  for (const std::string& word : networks) {
    const std::optional<Ipv4Network> network = Ipv4Network::Parse(word);
    if (!network) {
      reader.Fail("allowed-networks: \"" + word +
                  "\" is not an IPv4 address or network");
    }
    settings.allowedNetworks.push_back(*network);
  }
  if (settings.allowedNetworks.empty()) {
    reader.Fail("\"allowed-networks\" is not set");
  }
  settings.defaultContainer = reader.Optional("default-container", "");
  if (!settings.defaultContainer.empty() &&
      !IsPlausibleContainer(settings.defaultContainer)) {
    reader.Fail("default-container \"" + settings.defaultContainer +
                "\" is not a distinguished name");
  }
  const std::string computers =
      "CN=Computers," + plugin::DomainComponents(settings.domain);
  settings.baseContainer = reader.Optional(
      "base-container", settings.defaultContainer.empty()
                            ? computers
                            : settings.defaultContainer);
  if (!IsPlausibleContainer(settings.baseContainer)) {
    reader.Fail("base-container \"" + settings.baseContainer +
                "\" is not a distinguished name");
  }
  const std::string& defaultContainer =
      settings.defaultContainer.empty() ? computers : settings.defaultContainer;
  if (!IsWithinContainer(defaultContainer, settings.baseContainer)) {
    reader.Fail("the default container \"" + defaultContainer +
                "\" is not under base-container \"" + settings.baseContainer +
                "\"");
  }
  settings.enrolmentFile =
      reader.Optional("enrolment-file", kDefaultEnrolmentPath);
  settings.clientCaFile = reader.Optional("client-ca-file", "");
  // The key's older name, from when adcli did the directory's work.
  const int older = reader.Number("adcli-timeout-seconds", 30, 1, 600);
  settings.requestTimeoutSeconds =
      reader.Number("request-timeout-seconds", older, 1, 600);
  settings.directoryWorkers = reader.Number("directory-workers", 16, 1, 256);
  settings.maxConnections = reader.Number("max-connections", 64, 1, 1024);
  settings.receiveTimeoutSeconds =
      reader.Number("receive-timeout-seconds", 10, 1, 600);
  return settings;
}

}  // namespace quarry::authproxyd
