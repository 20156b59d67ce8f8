/* What the two sources of the test directory client plug-in share: each
 * operation's state, the lock and counters around it, and the two records
 * the plug-in exports. The tests reach the plug-in through
 * TestADClientControl.h instead. */
#ifndef QUARRYAUTH_TESTS_TESTADCLIENTSTATE_H
#define QUARRYAUTH_TESTS_TESTADCLIENTSTATE_H

#include <pthread.h>

#include "TestADClientControl.h"

#define EXPORT ADCLIENT_EXPORT

#define MAX_ARGUMENTS 16

struct OperationState {
  uint32_t statuses[TEST_MAX_STATUSES];
  int statusCount;
  int nextStatus;
  uint32_t value;
  char* texts[TEST_MAX_TEXTS];
  int textCount;
  int nullList;
  int blocked;
  int entered;
  int returned;
  char* arguments[MAX_ARGUMENTS];
  int argumentCount;
  const Credentials* credentials;
};

extern pthread_mutex_t lock;
extern pthread_cond_t changed;
extern struct OperationState states[TEST_OP_COUNT];
extern int releaseCount;
extern int nullReleaseCount;
extern int sentinelReleaseCount;
extern int liveAllocations;

/* Replaces the recorded text arguments of a call; with none, frees them. */
void RecordArguments(struct OperationState* state,
                     const char* const* arguments, int count);

/* The broken variants export their records under other names. */
#ifdef TEST_WITHOUT_METADATA
#define METADATA TestADClientMetadataUnderAnotherName
#else
#define METADATA ActiveDirectoryClientMetadata
#endif
#ifdef TEST_WITHOUT_OPERATIONS
#define OPERATIONS TestADClientOperationsUnderAnotherName
#else
#define OPERATIONS ActiveDirectoryClientOperations
#endif

EXPORT extern ADClientMetadata METADATA;
EXPORT extern ADClientOperations OPERATIONS;

#endif
