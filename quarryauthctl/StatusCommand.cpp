#include "StatusCommand.h"

#include <iostream>
#include <memory>

#include "ExitStatus.h"
#include "Output.h"
#include "StoreCommands.h"

namespace quarryauthctl {

namespace qa = quarry::authentication;
using Source = qa::ActiveDirectoryStore::AnswerSource;

namespace {

// What the library's trust state values mean where it sets them itself.
const qa::TrustState kTrustStateTimedOut = 2;
const qa::TrustState kTrustStateFilesMissing = 7;

struct Status {
  std::string activeStore;
  DirectoryConfiguration configuration;
  std::string organizationalUnit;
  std::string authProxyAddress;
  std::deque<qa::Domain> trustedDomains;
  bool trustedDomainsFromCache = false;
  qa::TrustState trustState = 0;
  bool trustStateFromCache = false;

  bool AnyFromCache() const {
    return configuration.fromCache || trustedDomainsFromCache ||
           trustStateFromCache;
  }
  bool Joined() const { return !configuration.domain.dnsName.empty(); }
};

// The host configuration store's record of the join; empty fields when
// there is none.
void ReadDomainRecord(Status& status) {
  qa::ActiveDirectoryConfigStore record;
  try {
    status.organizationalUnit = record.GetOrganizationalUnit();
    status.authProxyAddress = record.GetAuthProxyAddr();
  } catch (const qa::ConfigurationError&) {
    // No record: the host was not joined through this library.
  }
}

Status AskStatus(int timeoutSeconds) {
  Status status;
  status.activeStore = RecordedActiveStore();
  const qa::ActiveDirectoryStore store(timeoutSeconds);
  status.configuration = AskConfiguration(store);
  ReadDomainRecord(status);
  Source source = Source::Plugin;
  status.trustedDomains = store.GetTrustedDomains(source);
  status.trustedDomainsFromCache = source != Source::Plugin;
  status.trustState = store.GetDomainTrustState(source);
  status.trustStateFromCache = source != Source::Plugin;
  return status;
}

std::string CacheNote(bool fromCache, int timeoutSeconds) {
  return fromCache ? "  [cached: no answer within " +
                         std::to_string(timeoutSeconds) + " s]"
                   : "";
}

std::string TrustStateText(qa::TrustState state) {
  std::string text = std::to_string(state);
  if (state == kTrustStateTimedOut) text += " (no answer in time)";
  if (state == kTrustStateFilesMissing)
    text += " (the plug-in's files are missing)";
  return text;
}

std::string DomainText(const qa::Domain& domain) {
  if (domain.dnsName.empty()) return std::string();
  return domain.dnsName + " (" + domain.netbiosName + ")";
}

void PrintText(const Status& status, int timeoutSeconds) {
  const auto& configuration = status.configuration;
  const std::string configurationNote =
      CacheNote(configuration.fromCache, timeoutSeconds);
  PrintField("Active store", status.activeStore);
  PrintField("Domain (DNS name)",
             configuration.domain.dnsName.empty()
                 ? (configuration.fromCache ? "(no answer)" : "(not joined)") +
                       configurationNote
                 : configuration.domain.dnsName + configurationNote);
  PrintField("Domain (NetBIOS name)", configuration.domain.netbiosName);
  PrintField("Organizational unit", status.organizationalUnit);
  PrintField("Authentication proxy", status.authProxyAddress);
  PrintField("Machine account",
             configuration.machineAccountDN.empty() && configuration.fromCache
                 ? "(no answer)" + configurationNote
                 : configuration.machineAccountDN);
  PrintField("Preferred domain controllers",
             JoinWords(configuration.preferredDomainControllers));
  std::string trusted;
  for (const auto& domain : status.trustedDomains) {
    trusted += (trusted.empty() ? "" : ", ") + DomainText(domain);
  }
  PrintField(
      "Trusted domains",
      trusted + CacheNote(status.trustedDomainsFromCache, timeoutSeconds));
  PrintField("Trust state",
             TrustStateText(status.trustState) +
                 CacheNote(status.trustStateFromCache, timeoutSeconds));
}

Json DomainJson(const qa::Domain& domain) {
  return {{"dnsName", domain.dnsName}, {"netbiosName", domain.netbiosName}};
}

void PrintJsonStatus(const Status& status, int timeoutSeconds) {
  const auto& configuration = status.configuration;
  Json trusted = Json::array();
  for (const auto& domain : status.trustedDomains) {
    trusted.push_back(DomainJson(domain));
  }
  PrintJson({{"activeStore", status.activeStore},
             {"joined",
              configuration.fromCache ? Json(nullptr) : Json(status.Joined())},
             {"domain", DomainJson(configuration.domain)},
             {"organizationalUnit", status.organizationalUnit},
             {"authProxyAddress", status.authProxyAddress},
             {"machineAccountDN", configuration.machineAccountDN},
             {"preferredDomainControllers",
              Json(configuration.preferredDomainControllers)},
             {"trustedDomains", trusted},
             {"trustState", status.trustState},
             {"timeoutSeconds", timeoutSeconds},
             {"fromCache",
              {{"configuration", configuration.fromCache},
               {"trustedDomains", status.trustedDomainsFromCache},
               {"trustState", status.trustStateFromCache}}}});
}

int ShowStatus(int timeoutSeconds, bool json) {
  const Status status = AskStatus(timeoutSeconds);
  if (json) {
    PrintJsonStatus(status, timeoutSeconds);
  } else {
    PrintText(status, timeoutSeconds);
  }
  if (status.AnyFromCache()) return kAnsweredFromCache;
  return status.Joined() ? kSuccess : kNotJoined;
}

}  // namespace

DirectoryConfiguration AskConfiguration(const qa::ActiveDirectoryStore& store) {
  Source source = Source::Plugin;
  const std::unique_ptr<qa::StoreConfiguration> answer(
      store.GetStoreConfiguration(source));
  DirectoryConfiguration configuration;
  configuration.fromCache = source != Source::Plugin;
  const auto& directory =
      dynamic_cast<const qa::ActiveDirectoryStoreConfiguration&>(*answer);
  configuration.domain = directory.activeDomain;
  configuration.preferredDomainControllers =
      directory.preferredDomainControllers;
  configuration.machineAccountDN = directory.machineAccountDN;
  return configuration;
}

void AddStatusCommand(CLI::App& app, Action& chosen) {
  struct Options {
    int timeoutSeconds = 60;
    bool json = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* status = app.add_subcommand(
      "status", "Show the joined domain, its controllers, trusts and state");
  AddTimeoutOption(*status, options->timeoutSeconds);
  AddJsonFlag(*status, options->json);
  OnParsed(*status, chosen, [options] {
    return ShowStatus(options->timeoutSeconds, options->json);
  });
}

}  // namespace quarryauthctl
