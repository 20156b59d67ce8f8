// The store's three status queries. Each asks the plug-in on a worker
// thread and waits for it up to the store's time-out; an answer that comes
// in time refreshes the query's cache, and otherwise the cache answers. One
// worker per query is out at a time: a query asked while its worker is out
// answers from the cache at once.
#include <quarryauth/authentication/ActiveDirectoryStore.h>

#include <syslog.h>

#include <utility>

#include <quarryauth/authentication/ActiveDirectoryProvider.h>
#include <quarryauth/authentication/Exception.h>
#include "authentication/Log.h"
#include "authentication/MutexLock.h"

namespace quarry {
namespace authentication {

namespace {

const TrustState kTrustStateTimedOut = 2;
const TrustState kTrustStateFileNotFound = 7;

// Whether this thread's last AskWorker found a worker of its query out and
// answered from the cache at once (kept beside AskWorker's designed answer).
thread_local bool answeredWhileAsking = false;

// Where the answer of this thread's last AskWorker is.
ActiveDirectoryStore::AnswerSource SourceOf(bool answeredInTime) {
  using Source = ActiveDirectoryStore::AnswerSource;
  if (!answeredInTime) return Source::CacheAfterTimeOut;
  return answeredWhileAsking ? Source::CacheWhileAsking : Source::Plugin;
}

}  // namespace

pthread_mutex_t ActiveDirectoryStore::_lock = PTHREAD_MUTEX_INITIALIZER;
bool ActiveDirectoryStore::_isGetStoreConfigThreadActive = false;
bool ActiveDirectoryStore::_isGetTrustedDomainsThreadActive = false;
bool ActiveDirectoryStore::_isGetTrustStateThreadActive = false;

template <class Value>
bool ActiveDirectoryStore::AskWorker(bool& inFlight, Worker<Value> worker,
                                     const boost::shared_ptr<Value>& cache,
                                     const char* timeoutWarning) const {
  answeredWhileAsking = false;
  {
    MutexLock lock(&_lock);
    if (inFlight) {
      answeredWhileAsking = true;
      return true;  // answered from the cache at once
    }
    inFlight = true;
  }
  // The worker holds its own references, so that it may outlive this call
  // and even this store.
  boost::shared_ptr<RequestState> request;
  try {
    request.reset(new RequestState());
    QuarryauthThreadUtil::ScheduleThread(
        [worker, provider = provider, request, cache] {
          worker(provider, request, cache);
        });
  } catch (...) {
    // No worker was started to clear the flag.
    MutexLock lock(&_lock);
    inFlight = false;
    throw;
  }
  try {
    request->WaitResult(timeoutSeconds);
  } catch (const ProviderCallTimedOutException&) {
    Log(LOG_WARNING, "%s", timeoutWarning);
    return false;
  }
  return true;
}

template <class Value>
void ActiveDirectoryStore::FinishWorker(bool& inFlight, RequestState& request,
                                        Value& cache, Value& answer) {
  {
    MutexLock lock(&_lock);
    cache = std::move(answer);
    inFlight = false;
  }
  request.Done(nullptr);
}

void ActiveDirectoryStore::FailWorker(bool& inFlight, RequestState& request,
                                      const Exception& error) {
  {
    MutexLock lock(&_lock);
    inFlight = false;
  }
  request.Done(&error);
}

template <class Value>
Value ActiveDirectoryStore::ReadCache(const Value& cache) {
  MutexLock lock(&_lock);
  return cache;
}

void ActiveDirectoryStore::WriteTrustState(TrustState& cache,
                                           TrustState state) {
  MutexLock lock(&_lock);
  cache = state;
}

StoreConfiguration* ActiveDirectoryStore::GetStoreConfiguration() const {
  AnswerSource source;
  return GetStoreConfiguration(source);
}

std::deque<Domain> ActiveDirectoryStore::GetTrustedDomains() const {
  AnswerSource source;
  return GetTrustedDomains(source);
}

TrustState ActiveDirectoryStore::GetDomainTrustState() const {
  AnswerSource source;
  return GetDomainTrustState(source);
}

StoreConfiguration* ActiveDirectoryStore::GetStoreConfiguration(
    AnswerSource& source) const {
  source = SourceOf(AskWorker(
      _isGetStoreConfigThreadActive, &GetStoreConfigurationInt,
      configurationCache,
      "GetStoreConfiguration call timedout. Returning cached value."));
  return new ActiveDirectoryStoreConfiguration(ReadCache(*configurationCache));
}

std::deque<Domain> ActiveDirectoryStore::GetTrustedDomains(
    AnswerSource& source) const {
  source = SourceOf(
      AskWorker(_isGetTrustedDomainsThreadActive, &GetTrustedDomainsInt,
                trustedDomainsCache,
                "GetTrustedDomains call timedout. Returning cached value."));
  return ReadCache(*trustedDomainsCache);
}

TrustState ActiveDirectoryStore::GetDomainTrustState(
    AnswerSource& source) const {
  source = AnswerSource::Plugin;
  // A host that lacks the files for trusted domains has no trust state to
  // ask for.
  try {
    GetTrustedDomains();
  } catch (const FileNotFoundException&) {
    WriteTrustState(*trustStateCache, kTrustStateFileNotFound);
    return kTrustStateFileNotFound;
  } catch (const Exception& error) {
    Log(LOG_WARNING,
        "GetDomainTrustState: Call to GetTrustedDomains() failed: %s",
        error.what());
  }
  // The warning says "cached", but a trust state that could not be fetched
  // in time is reported, and remembered, as timed out.
  source = SourceOf(AskWorker(
      _isGetTrustStateThreadActive, &GetDomainTrustStateInt, trustStateCache,
      "GetDomainTrustState call timedout. Returning cached value."));
  if (source == AnswerSource::CacheAfterTimeOut) {
    WriteTrustState(*trustStateCache, kTrustStateTimedOut);
    return kTrustStateTimedOut;
  }
  return ReadCache(*trustStateCache);
}

void ActiveDirectoryStore::GetStoreConfigurationInt(
    boost::shared_ptr<ActiveDirectoryProvider> provider,
    boost::shared_ptr<RequestState> request,
    boost::shared_ptr<ActiveDirectoryStoreConfiguration> cache) {
  // Each part the plug-in cannot give stays empty; the rest is still worth
  // reporting.
  ActiveDirectoryStoreConfiguration answer;
  try {
    answer.activeDomain = provider->GetActiveDomain();
  } catch (const std::exception&) {
  }
  try {
    answer.preferredDomainControllers =
        provider->GetPreferredDomainControllers();
  } catch (const std::exception&) {
  }
  try {
    answer.machineAccountDN = provider->GetMachineAccountDN();
  } catch (const std::exception&) {
  }
  FinishWorker(_isGetStoreConfigThreadActive, *request, *cache, answer);
}

void ActiveDirectoryStore::GetTrustedDomainsInt(
    boost::shared_ptr<ActiveDirectoryProvider> provider,
    boost::shared_ptr<RequestState> request,
    boost::shared_ptr<std::deque<Domain>> cache) {
  std::deque<Domain> answer;
  try {
    answer = provider->GetTrustedDomains();
  } catch (const CallNotImplementedException&) {
  } catch (const Exception& error) {
    FailWorker(_isGetTrustedDomainsThreadActive, *request, error);
    return;
  }
  FinishWorker(_isGetTrustedDomainsThreadActive, *request, *cache, answer);
}

void ActiveDirectoryStore::GetDomainTrustStateInt(
    boost::shared_ptr<ActiveDirectoryProvider> provider,
    boost::shared_ptr<RequestState> request,
    boost::shared_ptr<TrustState> cache) {
  TrustState answer = 0;
  try {
    answer = provider->GetDomainTrustState();
  } catch (const CallNotImplementedException&) {
  } catch (const Exception& error) {
    FailWorker(_isGetTrustStateThreadActive, *request, error);
    return;
  }
  FinishWorker(_isGetTrustStateThreadActive, *request, *cache, answer);
}

}  // namespace authentication
}  // namespace quarry
