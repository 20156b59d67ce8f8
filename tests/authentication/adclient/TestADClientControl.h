/* Run-time control of the test directory client plug-in. Tests reach these
 * functions with dlopen of the installed plug-in's path and dlsym. Every
 * operation is named by its table slot in TestOperation. */
#ifndef QUARRYAUTH_TESTS_TESTADCLIENTCONTROL_H
#define QUARRYAUTH_TESTS_TESTADCLIENTCONTROL_H

#include <stdint.h>

#include <quarryauth/plugin/ActiveDirectoryClient.h>

#ifdef __cplusplus
extern "C" {
#endif

enum TestOperation {
  TEST_OP_JOIN_DOMAIN,
  TEST_OP_PART_DOMAIN,
  TEST_OP_GET_ACTIVE_DOMAIN,
  TEST_OP_SET_PREFERRED_DOMAIN_CONTROLLERS,
  TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS,
  TEST_OP_GET_DOMAIN_TRUST_STATE,
  TEST_OP_GET_TRUSTED_DOMAINS,
  TEST_OP_GET_MACHINE_ACCOUNT_DN,
  TEST_OP_GET_ANY_DOMAIN_CONTROLLER,
  TEST_OP_CONVERT_CANONICAL_USERNAME,
  TEST_OP_JOIN_DOMAIN_WITH_MACHINE_ACCOUNT,
  TEST_OP_GET_HOST_PRINCIPAL_FOR_DOMAIN,
  TEST_OP_GET_DOMAIN_TRUST_RELATIONSHIP,
  TEST_OP_SET_SMART_CARD_ENABLED_SERVICES,
  TEST_OP_GET_SMART_CARD_ENABLED_SERVICES,
  TEST_OP_COUNT
};

#define TEST_MAX_STATUSES 8
#define TEST_MAX_TEXTS 16

/* Statuses returned by successive calls; the last one repeats. Default 0.
 * After a non-zero status the outputs hold a sentinel that must never be
 * released. */
void TestADClientSetStatuses(int operation, const uint32_t* statuses,
                             int count);
/* The answer of GetDomainTrustState and GetDomainTrustRelationship. */
void TestADClientSetValue(int operation, uint32_t value);
/* Texts handed back: one for single-text operations, two (DNS, NetBIOS)
 * for GetActiveDomain, the elements of a list, or pairs for
 * GetTrustedDomains. Null entries are allowed where a text may be null. */
void TestADClientSetTexts(int operation, const char* const* texts,
                          int count);
/* Hand back a null list instead of an empty one. */
void TestADClientSetNullList(int operation, int isNull);
void TestADClientRemoveOperation(int operation);
void TestADClientSetTableVersion(int32_t version);
void TestADClientSetMetadata(int32_t version, const char* pamModule,
                             const char* pamModuleParameters,
                             const char* nssModule,
                             const char* nssModuleParameters);

/* Calls of a blocked operation wait inside the plug-in until released. */
void TestADClientBlock(int operation);
void TestADClientRelease(int operation);
/* 1 once at least `calls` calls have entered the operation, 0 after
 * timeoutSeconds without. */
int TestADClientWaitUntilEntered(int operation, int calls,
                                 int timeoutSeconds);

int TestADClientCallCount(int operation);
int TestADClientReturnCount(int operation);
/* Text arguments of the last call, in order; a list argument contributes
 * its elements. Null for an argument that was passed as null. */
int TestADClientArgumentCount(int operation);
const char* TestADClientArgument(int operation, int index);
const Credentials* TestADClientCredentials(int operation);

int TestADClientReleaseCount(void);
int TestADClientNullReleaseCount(void);
int TestADClientSentinelReleaseCount(void);
/* Texts and lists handed out and not yet released. */
int TestADClientLiveAllocations(void);

#ifdef __cplusplus
}
#endif

#endif
