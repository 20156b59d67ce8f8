/* A proxy client plug-in whose answers each test sets. Built in several
 * variants: TEST_CAM_NO_TABLE leaves the operations table out,
 * TEST_CAM_NULL_RELEASE leaves the release entry empty. */
#include <quarryauth/plugin/CAMProxyClient.h>

#include <stdlib.h>
#include <string.h>

#include "TestCAMProxyControl.h"

#define EXPORT __attribute__((visibility("default")))
/* Variants leave some entries out of the table. */
#define UNUSED_IN_SOME_VARIANTS __attribute__((unused))

static TestCAMProxyControl control = {.variant = TEST_CAM_VARIANT};

EXPORT TestCAMProxyControl* TestCAMProxyGetControl(void) { return &control; }

static void Copy(char* target, const char* source) {
  if (source == NULL) {
    target[0] = '\0';
    return;
  }
  strncpy(target, source, TEST_CAM_TEXT - 1);
  target[TEST_CAM_TEXT - 1] = '\0';
}

static char* Duplicate(const char* text) {
  return text == NULL ? NULL : strdup(text);
}

/* Handed back on failure, where the library must not release anything:
 * freeing it would be caught as an invalid free. */
static char failureText[] = "not to be released";

static char* Answer(CAMProxyResult result, const char* text) {
  return result == CAM_PROXY_SUCCESS ? Duplicate(text) : failureText;
}

UNUSED_IN_SOME_VARIANTS static CAMProxyResult GetDomainInfo(const char* server, int verifyCertificate,
                                    const char* thumbprint, char** netbios,
                                    char** dns, char** sid) {
  ++control.domainInfoCalls;
  Copy(control.server, server);
  control.verifyCertificate = verifyCertificate;
  Copy(control.thumbprint, thumbprint);
  *netbios = Answer(control.domainInfoResult, control.netbiosName);
  *dns = Answer(control.domainInfoResult, control.dnsName);
  *sid = Answer(control.domainInfoResult, control.domainSid);
  return control.domainInfoResult;
}

UNUSED_IN_SOME_VARIANTS static CAMProxyResult CreateMachineAccount(const char* server,
                                           const char* account,
                                           const char* container,
                                           int verifyCertificate,
                                           const char* thumbprint,
                                           char** first, char** second) {
  ++control.machineAccountCalls;
  Copy(control.server, server);
  Copy(control.account, account);
  control.containerWasNull = container == NULL;
  Copy(control.container, container);
  control.verifyCertificate = verifyCertificate;
  Copy(control.thumbprint, thumbprint);
  *first = Answer(control.machineAccountResult, control.firstResult);
  *second = Answer(control.machineAccountResult, control.secondResult);
  return control.machineAccountResult;
}

UNUSED_IN_SOME_VARIANTS static void Release(void* pointer) {
  if (control.releaseCalls < TEST_CAM_MAX_RELEASED) {
    Copy(control.released[control.releaseCalls], (const char*)pointer);
  }
  ++control.releaseCalls;
  free(pointer);
}

#ifndef TEST_CAM_NO_TABLE
EXPORT const CAMProxyClientOperationTable CAMProxyClientOperations = {
    NULL, GetDomainInfo, CreateMachineAccount,
#ifdef TEST_CAM_NULL_RELEASE
    NULL
#else
    Release
#endif
};
#endif
