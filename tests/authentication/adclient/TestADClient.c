/* A directory client plug-in for tests, built from the SDK header alone.
 * Each operation returns what the test asked for through the control
 * functions (TestADClientControl.c), records its arguments, and counts
 * calls, releases and live allocations. Compile definitions make the broken
 * variants:
 *   TEST_WITHOUT_METADATA, TEST_WITHOUT_OPERATIONS, TEST_METADATA_VERSION=N */
#include <pthread.h>
#include <stdlib.h>
#include <string.h>

#include "TestADClientState.h"

#ifndef TEST_METADATA_VERSION
#define TEST_METADATA_VERSION ACTIVE_DIRECTORY_CLIENT_METADATA_VERSION
#endif

pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
struct OperationState states[TEST_OP_COUNT];
int releaseCount;
int nullReleaseCount;
int sentinelReleaseCount;
int liveAllocations;

/* Handed back after a failure; releasing it is a fault of the caller. */
static char sentinelText[] = "must not be released";
static char* sentinelList[] = {sentinelText, NULL};

/* ---- memory that the caller hands back ---- */

static char* CopyText(const char* text) {
  __atomic_add_fetch(&liveAllocations, 1, __ATOMIC_SEQ_CST);
  return strdup(text);
}

static void* AllocateList(size_t count, size_t size) {
  __atomic_add_fetch(&liveAllocations, 1, __ATOMIC_SEQ_CST);
  return calloc(count, size);
}

static void Freed(void* data) {
  free(data);
  __atomic_sub_fetch(&liveAllocations, 1, __ATOMIC_SEQ_CST);
}

/* Counts one release call; returns 0 when there is nothing to free. */
static int CountRelease(void* data) {
  int mustFree = 1;
  pthread_mutex_lock(&lock);
  ++releaseCount;
  if (data == NULL) {
    ++nullReleaseCount;
    mustFree = 0;
  } else if (data == sentinelText || data == (void*)sentinelList) {
    ++sentinelReleaseCount;
    mustFree = 0;
  }
  pthread_mutex_unlock(&lock);
  return mustFree;
}

static void ReleaseText(void* text) {
  if (CountRelease(text)) Freed(text);
}

static void ReleaseTextList(void* data) {
  char** list = data;
  if (!CountRelease(data)) return;
  for (char** text = list; *text != NULL; ++text) Freed(*text);
  Freed(list);
}

static void ReleaseDomainList(void* data) {
  ADClientDomainName** list = data;
  if (!CountRelease(data)) return;
  for (ADClientDomainName** name = list; *name != NULL; ++name) {
    Freed((*name)->dnsName);
    Freed((*name)->netbiosName);
    Freed(*name);
  }
  Freed(list);
}

/* ---- call bookkeeping; the Begin ... End span holds the lock ---- */

void RecordArguments(struct OperationState* state,
                     const char* const* arguments, int count) {
  for (int i = 0; i < state->argumentCount; ++i) free(state->arguments[i]);
  state->argumentCount = 0;
  for (int i = 0; i < count && i < MAX_ARGUMENTS; ++i) {
    state->arguments[i] = arguments[i] ? strdup(arguments[i]) : NULL;
    state->argumentCount = i + 1;
  }
}

/* Records the call and its text arguments, waits while the operation is
 * blocked, and returns the status to report, with the lock held. */
static uint32_t Begin(int operation, const char* const* arguments,
                      int count) {
  pthread_mutex_lock(&lock);
  struct OperationState* state = &states[operation];
  RecordArguments(state, arguments, count);
  ++state->entered;
  pthread_cond_broadcast(&changed);
  while (state->blocked) pthread_cond_wait(&changed, &lock);
  uint32_t status = 0;
  if (state->statusCount > 0) {
    status = state->statuses[state->nextStatus];
    if (state->nextStatus + 1 < state->statusCount) ++state->nextStatus;
  }
  return status;
}

static void End(int operation) {
  ++states[operation].returned;
  pthread_cond_broadcast(&changed);
  pthread_mutex_unlock(&lock);
}

static int ListLength(const char* const* list) {
  int count = 0;
  while (list != NULL && list[count] != NULL) ++count;
  return count;
}

/* A copy of the index-th configured text, null when unset. */
static char* ConfiguredText(int operation, int index) {
  const struct OperationState* state = &states[operation];
  if (index >= state->textCount || state->texts[index] == NULL) return NULL;
  return CopyText(state->texts[index]);
}

/* ---- the operations ---- */

static ADClientStatus SingleText(int operation, const char* const* arguments,
                                 int count, char** out,
                                 ADClientReleaseFunction* release) {
  uint32_t status = Begin(operation, arguments, count);
  *release = ReleaseText;
  *out = status != 0 ? sentinelText : ConfiguredText(operation, 0);
  End(operation);
  return status;
}

static ADClientStatus TextList(int operation, char*** out,
                               ADClientReleaseFunction* release) {
  uint32_t status = Begin(operation, NULL, 0);
  *release = ReleaseTextList;
  const struct OperationState* state = &states[operation];
  if (status != 0) {
    *out = sentinelList;
  } else if (state->nullList) {
    *out = NULL;
  } else {
    char** list = AllocateList(state->textCount + 1, sizeof(char*));
    for (int i = 0; i < state->textCount; ++i) {
      list[i] = ConfiguredText(operation, i);
    }
    *out = list;
  }
  End(operation);
  return status;
}

static ADClientStatus SetList(int operation, const char* const* list) {
  uint32_t status = Begin(operation, list, ListLength(list));
  End(operation);
  return status;
}

static ADClientStatus PassCredentials(int operation,
                                      const char* const* arguments,
                                      int count,
                                      const Credentials* credentials) {
  uint32_t status = Begin(operation, arguments, count);
  states[operation].credentials = credentials;
  End(operation);
  return status;
}

static ADClientStatus JoinDomain(const char* domain,
                                 const char* organizationalUnit,
                                 const Credentials* credentials) {
  const char* arguments[] = {domain, organizationalUnit};
  return PassCredentials(TEST_OP_JOIN_DOMAIN, arguments, 2, credentials);
}

static ADClientStatus PartDomain(const Credentials* credentials) {
  return PassCredentials(TEST_OP_PART_DOMAIN, NULL, 0, credentials);
}

static ADClientStatus GetActiveDomain(ADClientDomainName* domain,
                                      ADClientReleaseFunction* release) {
  uint32_t status = Begin(TEST_OP_GET_ACTIVE_DOMAIN, NULL, 0);
  *release = ReleaseText;
  if (status != 0) {
    domain->dnsName = sentinelText;
    domain->netbiosName = sentinelText;
  } else {
    domain->dnsName = ConfiguredText(TEST_OP_GET_ACTIVE_DOMAIN, 0);
    domain->netbiosName = ConfiguredText(TEST_OP_GET_ACTIVE_DOMAIN, 1);
  }
  End(TEST_OP_GET_ACTIVE_DOMAIN);
  return status;
}

static ADClientStatus SetPreferredDomainControllers(
    const char* const* hostNames) {
  return SetList(TEST_OP_SET_PREFERRED_DOMAIN_CONTROLLERS, hostNames);
}

static ADClientStatus GetPreferredDomainControllers(
    char*** hostNames, ADClientReleaseFunction* release) {
  return TextList(TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS, hostNames,
                  release);
}

static uint32_t ConfiguredValue(int operation, const char* const* arguments,
                                int count) {
  Begin(operation, arguments, count);
  uint32_t value = states[operation].value;
  End(operation);
  return value;
}

static ADClientTrustState GetDomainTrustState(void) {
  return ConfiguredValue(TEST_OP_GET_DOMAIN_TRUST_STATE, NULL, 0);
}

static ADClientStatus GetTrustedDomains(ADClientDomainName*** domains,
                                        ADClientReleaseFunction* release) {
  const int operation = TEST_OP_GET_TRUSTED_DOMAINS;
  uint32_t status = Begin(operation, NULL, 0);
  *release = ReleaseDomainList;
  const struct OperationState* state = &states[operation];
  if (status != 0) {
    *domains = (ADClientDomainName**)sentinelList;
  } else if (state->nullList) {
    *domains = NULL;
  } else {
    int pairs = state->textCount / 2;
    ADClientDomainName** list =
        AllocateList(pairs + 1, sizeof(ADClientDomainName*));
    for (int i = 0; i < pairs; ++i) {
      list[i] = AllocateList(1, sizeof(ADClientDomainName));
      list[i]->dnsName = ConfiguredText(operation, 2 * i);
      list[i]->netbiosName = ConfiguredText(operation, 2 * i + 1);
    }
    *domains = list;
  }
  End(operation);
  return status;
}

static ADClientStatus GetMachineAccountDN(char** distinguishedName,
                                          ADClientReleaseFunction* release) {
  return SingleText(TEST_OP_GET_MACHINE_ACCOUNT_DN, NULL, 0,
                    distinguishedName, release);
}

static ADClientStatus GetAnyDomainController(
    const char* first, const char* domain, char** domainController,
    ADClientReleaseFunction* release) {
  const char* arguments[] = {first, domain};
  return SingleText(TEST_OP_GET_ANY_DOMAIN_CONTROLLER, arguments, 2,
                    domainController, release);
}

static ADClientStatus ConvertCanonicalUsername(
    const char* name, char** converted, ADClientReleaseFunction* release) {
  const char* arguments[] = {name};
  return SingleText(TEST_OP_CONVERT_CANONICAL_USERNAME, arguments, 1,
                    converted, release);
}

static ADClientStatus JoinDomainWithMachineAccount(
    const ADClientDirectoryDomainInfo* domain,
    const ADClientMachineAccountInfo* account) {
  const char* arguments[] = {
      domain->reserved,       domain->netbiosDomainName,
      domain->dnsDomainName,  domain->domainSid,
      account->hostShortName, account->dnsDomainName,
      account->reserved,      account->principalSecond,
      account->principalThird};
  uint32_t status =
      Begin(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT, arguments, 9);
  End(TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT);
  return status;
}

static ADClientStatus GetHostPrincipalForDomain(
    const char* domain, char** principal, ADClientReleaseFunction* release) {
  const char* arguments[] = {domain};
  return SingleText(TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN, arguments, 1,
                    principal, release);
}

static uint32_t GetDomainTrustRelationship(const char* domain) {
  const char* arguments[] = {domain};
  return ConfiguredValue(TEST_OP_GET_DOMAIN_TRUST_RELATIONSHIP, arguments,
                         1);
}

static ADClientStatus SetSmartCardEnabledServices(
    const char* const* services) {
  return SetList(TEST_OP_SET_SMART_CARD_ENABLED_SERVICES, services);
}

static ADClientStatus GetSmartCardEnabledServices(
    char*** services, ADClientReleaseFunction* release) {
  return TextList(TEST_OP_GET_SMART_CARD_ENABLED_SERVICES, services,
                  release);
}

/* ---- the two records ---- */

EXPORT ADClientMetadata METADATA = {
    TEST_METADATA_VERSION, "pam_testad.so", "try_first_pass",
    "testad", NULL};

EXPORT ADClientOperations OPERATIONS = {
    ACTIVE_DIRECTORY_CLIENT_OPERATIONS_VERSION,
    JoinDomain,
    PartDomain,
    GetActiveDomain,
    SetPreferredDomainControllers,
    GetPreferredDomainControllers,
    NULL,
    GetDomainTrustState,
    GetTrustedDomains,
    GetMachineAccountDN,
    GetAnyDomainController,
    ConvertCanonicalUsername,
    JoinDomainWithMachineAccount,
    GetHostPrincipalForDomain,
    GetDomainTrustRelationship,
    SetSmartCardEnabledServices,
    GetSmartCardEnabledServices,
};
