/* The control functions of the test directory client plug-in, declared in
 * TestADClientControl.h: what each operation answers, and what its calls
 * recorded and left allocated. */
#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "TestADClientState.h"

/* Metadata texts set by a test, kept while the plug-in is loaded. */
static char* keptMetadata[4];

EXPORT void TestADClientSetStatuses(int operation, const uint32_t* statuses,
                                    int count) {
  pthread_mutex_lock(&lock);
  struct OperationState* state = &states[operation];
  if (count > TEST_MAX_STATUSES) count = TEST_MAX_STATUSES;
  for (int i = 0; i < count; ++i) state->statuses[i] = statuses[i];
  state->statusCount = count;
  state->nextStatus = 0;
  pthread_mutex_unlock(&lock);
}

EXPORT void TestADClientSetValue(int operation, uint32_t value) {
  pthread_mutex_lock(&lock);
  states[operation].value = value;
  pthread_mutex_unlock(&lock);
}

EXPORT void TestADClientSetTexts(int operation, const char* const* texts,
                                 int count) {
  pthread_mutex_lock(&lock);
  struct OperationState* state = &states[operation];
  for (int i = 0; i < state->textCount; ++i) free(state->texts[i]);
  if (count > TEST_MAX_TEXTS) count = TEST_MAX_TEXTS;
  for (int i = 0; i < count; ++i) {
    state->texts[i] = texts[i] ? strdup(texts[i]) : NULL;
  }
  state->textCount = count;
  pthread_mutex_unlock(&lock);
}

EXPORT void TestADClientSetNullList(int operation, int isNull) {
  pthread_mutex_lock(&lock);
  states[operation].nullList = isNull;
  pthread_mutex_unlock(&lock);
}

EXPORT void TestADClientRemoveOperation(int operation) {
  ADClientOperations* table = &OPERATIONS;
  switch (operation) {
    case TEST_OP_JOIN_DOMAIN: table->JoinDomain = NULL; break;
    case TEST_OP_PART_DOMAIN: table->PartDomain = NULL; break;
    case TEST_OP_GET_ACTIVE_DOMAIN: table->GetActiveDomain = NULL; break;
    case TEST_OP_SET_PREFERRED_DOMAIN_CONTROLLERS:
      table->SetPreferredDomainControllers = NULL; break;
    case TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS:
      table->GetPreferredDomainControllers = NULL; break;
    case TEST_OP_GET_DOMAIN_TRUST_STATE:
      table->GetDomainTrustState = NULL; break;
    case TEST_OP_GET_TRUSTED_DOMAINS: table->GetTrustedDomains = NULL; break;
    case TEST_OP_GET_MACHINE_ACCOUNT_DN:
      table->GetMachineAccountDN = NULL; break;
    case TEST_OP_GET_ANY_DOMAIN_CONTROLLER:
      table->GetAnyDomainController = NULL; break;
    case TEST_OP_CONVERT_CANONICAL_USERNAME:
      table->ConvertCanonicalUsername = NULL; break;
    case TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT:
      table->JoinDomainWithMachineAccount = NULL; break;
    case TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN:
      table->GetHostPrincipalForDomain = NULL; break;
    case TEST_OP_GET_DOMAIN_TRUST_RELATIONSHIP:
      table->GetDomainTrustRelationship = NULL; break;
    case TEST_OP_SET_SMART_CARD_ENABLED_SERVICES:
      table->SetSmartCardEnabledServices = NULL; break;
    case TEST_OP_GET_SMART_CARD_ENABLED_SERVICES:
      table->GetSmartCardEnabledServices = NULL; break;
  }
}

EXPORT void TestADClientSetTableVersion(int32_t version) {
  OPERATIONS.version = version;
}

EXPORT void TestADClientSetMetadata(int32_t version, const char* pamModule,
                                    const char* pamModuleParameters,
                                    const char* nssModule,
                                    const char* nssModuleParameters) {
  const char* given[4] = {pamModule, pamModuleParameters, nssModule,
                          nssModuleParameters};
  for (int i = 0; i < 4; ++i) {
    free(keptMetadata[i]);
    keptMetadata[i] = given[i] ? strdup(given[i]) : NULL;
  }
  METADATA.version = version;
  METADATA.pamModule = keptMetadata[0];
  METADATA.pamModuleParameters = keptMetadata[1];
  METADATA.nssModule = keptMetadata[2];
  METADATA.nssModuleParameters = keptMetadata[3];
}

/* Frees the test's settings when the plug-in is unloaded, so that a leak
 * check sees only what the library failed to release. */
__attribute__((destructor)) static void FreeSettings(void) {
  for (int operation = 0; operation < TEST_OP_COUNT; ++operation) {
    struct OperationState* state = &states[operation];
    for (int i = 0; i < state->textCount; ++i) free(state->texts[i]);
    RecordArguments(state, NULL, 0);
  }
  for (int i = 0; i < 4; ++i) free(keptMetadata[i]);
}

EXPORT void TestADClientBlock(int operation) {
  pthread_mutex_lock(&lock);
  states[operation].blocked = 1;
  pthread_mutex_unlock(&lock);
}

EXPORT void TestADClientRelease(int operation) {
  pthread_mutex_lock(&lock);
  states[operation].blocked = 0;
  pthread_cond_broadcast(&changed);
  pthread_mutex_unlock(&lock);
}

EXPORT int TestADClientWaitUntilEntered(int operation, int calls,
                                        int timeoutSeconds) {
  struct timespec deadline;
  clock_gettime(CLOCK_REALTIME, &deadline);
  deadline.tv_sec += timeoutSeconds;
  pthread_mutex_lock(&lock);
  int rc = 0;
  while (states[operation].entered < calls && rc == 0) {
    rc = pthread_cond_timedwait(&changed, &lock, &deadline);
  }
  int reached = states[operation].entered >= calls;
  pthread_mutex_unlock(&lock);
  return reached;
}

static int ReadCounter(const int* counter) {
  pthread_mutex_lock(&lock);
  int value = *counter;
  pthread_mutex_unlock(&lock);
  return value;
}

EXPORT int TestADClientCallCount(int operation) {
  return ReadCounter(&states[operation].entered);
}

EXPORT int TestADClientReturnCount(int operation) {
  return ReadCounter(&states[operation].returned);
}

EXPORT int TestADClientArgumentCount(int operation) {
  return ReadCounter(&states[operation].argumentCount);
}

EXPORT const char* TestADClientArgument(int operation, int index) {
  pthread_mutex_lock(&lock);
  const char* argument = index < states[operation].argumentCount
                             ? states[operation].arguments[index]
                             : NULL;
  pthread_mutex_unlock(&lock);
  return argument;
}

EXPORT const Credentials* TestADClientCredentials(int operation) {
  pthread_mutex_lock(&lock);
  const Credentials* credentials = states[operation].credentials;
  pthread_mutex_unlock(&lock);
  return credentials;
}

EXPORT int TestADClientReleaseCount(void) { return ReadCounter(&releaseCount); }

EXPORT int TestADClientNullReleaseCount(void) {
  return ReadCounter(&nullReleaseCount);
}

EXPORT int TestADClientSentinelReleaseCount(void) {
  return ReadCounter(&sentinelReleaseCount);
}

EXPORT int TestADClientLiveAllocations(void) {
  return __atomic_load_n(&liveAllocations, __ATOMIC_SEQ_CST);
}
