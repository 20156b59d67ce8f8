/* The binary interface between libquarryauth and an Active Directory client
 * plug-in: a shared object installed as
 *   /usr/libexec/quarryauth/lib64/libNAME.so  (tried first) or
 *   /usr/libexec/quarryauth/libNAME.so
 * and named by the key "provider" of /etc/quarry/quarryauth/provider.conf.
 *
 * The plug-in exports two data objects, found by name:
 *   ADClientMetadata   ActiveDirectoryClientMetadata;
 *   ADClientOperations ActiveDirectoryClientOperations;
 * Layouts are fixed for x86-64 Linux (8-byte pointers, 4-byte int).
 *
 * Every operation returns an ADClientStatus (0 on success, otherwise a
 * Windows system error number or one of the private values below), except
 * GetDomainTrustState and GetDomainTrustRelationship, which return their
 * answer itself. A null entry means "not implemented".
 *
 * Ownership: texts passed in belong to the caller and live for the call.
 * Data handed back comes with a release function. After a zero status the
 * library copies the data and then releases it: a single text once, even
 * when null; each non-null text of GetActiveDomain once; an array once on
 * the array itself, even when null (the release function frees the
 * elements too). After a non-zero status nothing is read or released.
 * Metadata texts are static and never released. */
#ifndef QUARRYAUTH_PLUGIN_ACTIVEDIRECTORYCLIENT_H
#define QUARRYAUTH_PLUGIN_ACTIVEDIRECTORYCLIENT_H

#include <stdint.h>

#include "Credentials.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Symbols are hidden by default in this project; plug-ins mark their two
 * records with this. */
#define ADCLIENT_EXPORT __attribute__((visibility("default")))

#define ACTIVE_DIRECTORY_CLIENT_METADATA_SYMBOL "ActiveDirectoryClientMetadata"
#define ACTIVE_DIRECTORY_CLIENT_OPERATIONS_SYMBOL \
  "ActiveDirectoryClientOperations"

/* The library accepts any metadata version up to this one. */
#define ACTIVE_DIRECTORY_CLIENT_METADATA_VERSION 3
/* Operations marked "version 2" below need a table of at least this one. */
#define ACTIVE_DIRECTORY_CLIENT_OPERATIONS_VERSION 2

typedef uint32_t ADClientStatus;

#define ADCLIENT_STATUS_SUCCESS 0u
#define ADCLIENT_STATUS_FILE_NOT_FOUND 2u
#define ADCLIENT_STATUS_ACCESS_DENIED 5u
#define ADCLIENT_STATUS_CALL_NOT_IMPLEMENTED 120u
#define ADCLIENT_STATUS_LOGON_FAILURE 1326u
#define ADCLIENT_STATUS_NO_SUCH_DOMAIN 1355u
/* Private: a join reporting this (or a logon failure) is tried again, up to
 * four attempts, 30 seconds apart. */
#define ADCLIENT_STATUS_PRIVATE_RETRY 0xFFFF0000u
#define ADCLIENT_STATUS_PRIVATE_FAILURE 0xFFFF0001u

typedef uint32_t ADClientTrustState;

/* Frees data that the plug-in handed back. */
typedef void (*ADClientReleaseFunction)(void* data);

typedef struct ADClientDomainName {
  char* dnsName;
  char* netbiosName;
} ADClientDomainName;

typedef struct ADClientMetadata {
  int32_t version;                 /* offset 0 */
  const char* pamModule;           /* offset 8, never null */
  const char* pamModuleParameters; /* offset 16, words, may be null */
  const char* nssModule;           /* offset 24, never null */
  const char* nssModuleParameters; /* offset 32, words, may be null */
} ADClientMetadata;

/* The domain as the authentication proxy describes it. */
typedef struct ADClientDirectoryDomainInfo {
  const char* reserved; /* always empty */
  const char* netbiosDomainName;
  const char* dnsDomainName;
  const char* domainSid;
} ADClientDirectoryDomainInfo;

/* The computer account that the authentication proxy created. */
typedef struct ADClientMachineAccountInfo {
  const char* hostShortName;
  const char* dnsDomainName;
  const char* reserved; /* always empty */
  const char* principalSecond;
  const char* principalThird;
} ADClientMachineAccountInfo;

typedef struct ADClientOperations {
  int32_t version; /* offset 0 */
  /* 8: organizationalUnit is null when none is wanted. */
  ADClientStatus (*JoinDomain)(const char* domain,
                               const char* organizationalUnit,
                               const Credentials* credentials);
  /* 16: credentials null leaves without an account. */
  ADClientStatus (*PartDomain)(const Credentials* credentials);
  /* 24 */
  ADClientStatus (*GetActiveDomain)(ADClientDomainName* domain,
                                    ADClientReleaseFunction* release);
  /* 32: null-terminated list of host names. */
  ADClientStatus (*SetPreferredDomainControllers)(
      const char* const* hostNames);
  /* 40 */
  ADClientStatus (*GetPreferredDomainControllers)(
      char*** hostNames, ADClientReleaseFunction* release);
  /* 48: never called. */
  void* reserved;
  /* 56 */
  ADClientTrustState (*GetDomainTrustState)(void);
  /* 64: null-terminated list of pointers to pairs. */
  ADClientStatus (*GetTrustedDomains)(ADClientDomainName*** domains,
                                      ADClientReleaseFunction* release);
  /* 72 */
  ADClientStatus (*GetMachineAccountDN)(char** distinguishedName,
                                        ADClientReleaseFunction* release);
  /* 80: first is always null when called by the library. */
  ADClientStatus (*GetAnyDomainController)(const char* first,
                                           const char* domain,
                                           char** domainController,
                                           ADClientReleaseFunction* release);
  /* 88 */
  ADClientStatus (*ConvertCanonicalUsername)(
      const char* name, char** converted, ADClientReleaseFunction* release);
  /* 96, version 2 */
  ADClientStatus (*JoinDomainWithMachineAccount)(
      const ADClientDirectoryDomainInfo* domain,
      const ADClientMachineAccountInfo* account);
  /* 104, version 2 */
  ADClientStatus (*GetHostPrincipalForDomain)(
      const char* domain, char** principal, ADClientReleaseFunction* release);
  /* 112: the answer is handed to the caller unchanged. */
  uint32_t (*GetDomainTrustRelationship)(const char* domain);
  /* 120: null-terminated list of service names. */
  ADClientStatus (*SetSmartCardEnabledServices)(const char* const* services);
  /* 128 */
  ADClientStatus (*GetSmartCardEnabledServices)(
      char*** services, ADClientReleaseFunction* release);
} ADClientOperations;

#ifdef __cplusplus
}
#endif

#endif
