// The "Active Directory" store: authenticates host users against Active
// Directory through the directory client plug-in named in provider.conf.
#ifndef QUARRYAUTH_AUTHENTICATION_ACTIVEDIRECTORYSTORE_H
#define QUARRYAUTH_AUTHENTICATION_ACTIVEDIRECTORYSTORE_H

#include <cstdint>
#include <deque>
#include <pthread.h>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "ActiveDirectoryProvider.h"
#include "AuthenticationStore.h"
#include "Domain.h"
#include "Export.h"
#include "ThreadUtil.h"

namespace quarry {
namespace authentication {

// The three status queries (GetStoreConfiguration, GetTrustedDomains,
// GetDomainTrustState) run on a detached worker and wait for it at most the
// store's time-out; on expiry they log a warning and answer from a cache
// that the worker still refreshes when it ends. While a worker of a query
// kind is in flight (in any store of the process) that query answers from
// the cache at once.
class QUARRYAUTH_EXPORT ActiveDirectoryStore : public DirectoryStore {
 public:
  // Loads the plug-in named by "provider" in provider.conf. An empty name
  // throws InvalidActiveDirectoryProviderException for "(unset)"; the
  // provider's own exceptions pass through.
  explicit ActiveDirectoryStore(int timeoutSeconds);

  ActiveDirectoryStore(const ActiveDirectoryStore&) = delete;
  ActiveDirectoryStore& operator=(const ActiveDirectoryStore&) = delete;

  // A new ActiveDirectoryStoreConfiguration, owned by the caller.
  StoreConfiguration* GetStoreConfiguration() const override;
  std::string GetDisplayName() const override;
  // Records "Active Directory" as the active store.
  void MakeActive() override;
  ~ActiveDirectoryStore() override;
  // Nothing to undo.
  void MakeInactive() override;

  std::deque<Domain> GetTrustedDomains() const;
  // 7 when the plug-in cannot find a file it needs, 2 when the query timed
  // out, otherwise the plug-in's answer (0 when it has none).
  TrustState GetDomainTrustState() const;

  // Where an answer of a status query came from: an addition beside the
  // queries above, which say so only in the system log, for callers that
  // must tell a live answer from a cached one.
  enum class AnswerSource {
    Plugin,             // the plug-in answered within the time-out
    CacheAfterTimeOut,  // no answer within the time-out
    CacheWhileAsking,   // a worker of the same query was already out
  };
  // The same three queries, saying in source where the answer came from.
  StoreConfiguration* GetStoreConfiguration(AnswerSource& source) const;
  std::deque<Domain> GetTrustedDomains(AnswerSource& source) const;
  TrustState GetDomainTrustState(AnswerSource& source) const;

  // Makes sure the host's name can serve as a computer account name in
  // domain and that the host resolves itself: the short name must match the
  // resolver's canonical name and not be generic, and /etc/hosts maps the
  // management address to the host's names. A host outside domain only
  // warns and gets domain as a DNS search domain. Throws
  // InvalidHostNameException; platform failures pass through.
  void SanitiseHostnameForDomain(const std::string& domain) const;

  // Joins the domain named before the first "/" of domain, with everything
  // after it as the organizational unit, and records it in the host
  // configuration store. When recording fails the host leaves the domain
  // again and the store's exception reaches the caller.
  void JoinDomain(const std::string& domain, const Credentials& credentials,
                  bool skipHostnameChecks);
  // Joins through the authentication proxy at server (an IPv4 address),
  // which creates the machine account in organizationalUnit (empty: its
  // default container).
  void JoinDomainWithCAM(const std::string& server,
                         const std::string& organizationalUnit,
                         bool skipHostnameChecks);
  // Records the proxy's certificate (PEM text) and its thumbprint.
  void ImportCertificateForCAM(const std::string& certificate);
  // The same from a PEM file; the second argument is not used.
  void ImportCertificateForCAM(const std::string& path,
                               const std::string& unused);
  // The DNS domain that the proxy at server serves.
  std::string GetDomainForCAMService(const std::string& server);

  // Leaves the domain without credentials and forgets the domain record.
  void PartDomain();
  // Leaves the domain with an account; the configuration store's domain
  // record is left as it is.
  void PartDomain(const Credentials& credentials);
  // A plug-in that cannot do this is logged and otherwise ignored.
  void SetPreferredDomainControllers(const std::deque<std::string>& hostNames);
  // Empty when the plug-in cannot answer.
  std::string GetDomainControllerForDomain(const std::string& domain) const;
  // Empty when the plug-in cannot answer.
  std::string GetHostPrincipalForDomain(const std::string& domain) const;
  // 0 when the plug-in cannot answer.
  uint32_t GetDomainTrustRelationship(const std::string& domain) const;
  // The name unchanged when the plug-in cannot convert it.
  std::string ConvertCanonicalUsername(const std::string& name) const;
  void SetSmartCardEnabledServices(
      const std::vector<std::string>& services) const;
  std::vector<std::string> GetSmartCardEnabledServices() const;

  // Worker bodies of the three queries: ask the plug-in, store the answer
  // in the cache, clear the query's in-flight flag, then report to the
  // request state. They let no exception escape.
  static void GetStoreConfigurationInt(
      boost::shared_ptr<ActiveDirectoryProvider> provider,
      boost::shared_ptr<RequestState> request,
      boost::shared_ptr<ActiveDirectoryStoreConfiguration> cache);
  static void GetTrustedDomainsInt(
      boost::shared_ptr<ActiveDirectoryProvider> provider,
      boost::shared_ptr<RequestState> request,
      boost::shared_ptr<std::deque<Domain>> cache);
  static void GetDomainTrustStateInt(
      boost::shared_ptr<ActiveDirectoryProvider> provider,
      boost::shared_ptr<RequestState> request,
      boost::shared_ptr<TrustState> cache);

 private:
  // Records a completed join; on failure leaves the domain again and
  // rethrows the store's exception.
  void RecordDomainOrLeave(const std::string& domainName,
                           const std::string& organizationalUnit,
                           const std::string& authProxyAddress);

  template <class Value>
  using Worker = void (*)(boost::shared_ptr<ActiveDirectoryProvider>,
                          boost::shared_ptr<RequestState>,
                          boost::shared_ptr<Value>);

  // Starts the query's worker unless one is in flight and waits for it.
  // Returns false when the wait timed out (the warning is logged).
  template <class Value>
  bool AskWorker(bool& inFlight, Worker<Value> worker,
                 const boost::shared_ptr<Value>& cache,
                 const char* timeoutWarning) const;

  template <class Value>
  static void FinishWorker(bool& inFlight, RequestState& request,
                           Value& cache, Value& answer);
  static void FailWorker(bool& inFlight, RequestState& request,
                         const Exception& error);

  template <class Value>
  static Value ReadCache(const Value& cache);
  static void WriteTrustState(TrustState& cache, TrustState state);

  const int32_t timeoutSeconds;
  boost::shared_ptr<ActiveDirectoryProvider> provider;
  boost::shared_ptr<ActiveDirectoryStoreConfiguration> configurationCache;
  boost::shared_ptr<TrustState> trustStateCache;
  boost::shared_ptr<std::deque<Domain>> trustedDomainsCache;

  // Shared by every store of the process: guards the caches and the flags
  // that tell whether a worker of each query kind is in flight.
  static pthread_mutex_t _lock;
  static bool _isGetStoreConfigThreadActive;
  static bool _isGetTrustedDomainsThreadActive;
  static bool _isGetTrustStateThreadActive;
};

}  // namespace authentication
}  // namespace quarry

#endif
