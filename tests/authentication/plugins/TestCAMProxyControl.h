// How a test steers the test proxy client plug-in and reads what it saw.
// The plug-in exports TestCAMProxyGetControl(); a test reaches it with
// dlopen(RTLD_NOLOAD) of the installed plug-in and dlsym.
#ifndef QUARRYAUTH_TESTS_TESTCAMPROXYCONTROL_H
#define QUARRYAUTH_TESTS_TESTCAMPROXYCONTROL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define TEST_CAM_TEXT 256
#define TEST_CAM_MAX_RELEASED 16

typedef struct TestCAMProxyControl {
  /* Which build of the plug-in this is. */
  const char* variant;

  /* Answers; a null text is handed back as a null string. On failure the
   * plug-in still hands back static strings, to show that the library does
   * not release anything then. */
  uint32_t domainInfoResult;
  const char* netbiosName;
  const char* dnsName;
  const char* domainSid;
  uint32_t machineAccountResult;
  const char* firstResult;
  const char* secondResult;

  /* What the plug-in saw. */
  int domainInfoCalls;
  int machineAccountCalls;
  char server[TEST_CAM_TEXT];
  int verifyCertificate;
  char thumbprint[TEST_CAM_TEXT];
  char account[TEST_CAM_TEXT];
  int containerWasNull;
  char container[TEST_CAM_TEXT];
  int releaseCalls;
  char released[TEST_CAM_MAX_RELEASED][TEST_CAM_TEXT];
} TestCAMProxyControl;

typedef TestCAMProxyControl* (*TestCAMProxyGetControlFunction)(void);

#ifdef __cplusplus
}
#endif

#endif
