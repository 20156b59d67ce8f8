/*
 * The authentication proxy client plug-in interface.
 *
 * A proxy client plug-in is a shared object installed as
 * /usr/libexec/quarryauth/lib64/lib<NAME>.so (or directly in
 * /usr/libexec/quarryauth/), where NAME is the "provider" of
 * /etc/quarry/quarryauth/camprovider.conf. It exports one data symbol,
 * CAMProxyClientOperations, a CAMProxyClientOperationTable of four
 * pointer-sized entries.
 *
 * Every call receives the proxy server's address, whether the server's
 * certificate must be verified, and the expected certificate thumbprint
 * (SHA-1, upper-case hexadecimal byte pairs joined by ':'). Strings handed
 * back through out arguments are allocated by the plug-in; the library
 * returns every non-null one to the release entry after a successful call.
 * After a failed call the library releases nothing, so a plug-in returns no
 * strings on failure.
 */
#ifndef QUARRYAUTH_PLUGIN_CAMPROXYCLIENT_H
#define QUARRYAUTH_PLUGIN_CAMPROXYCLIENT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define CAM_PROXY_CLIENT_OPERATIONS_SYMBOL "CAMProxyClientOperations"

/* Result codes the library understands; any other non-zero code reaches
 * callers as an unknown error carrying the code. */
#define CAM_PROXY_SUCCESS 0u
#define CAM_PROXY_NOT_ENOUGH_MEMORY 8u
#define CAM_PROXY_CONNECTION_REFUSED 1225u
#define CAM_PROXY_CONNECTION_INVALID 1229u
#define CAM_PROXY_TIMED_OUT 10060u
#define CAM_PROXY_CERTIFICATE_NOT_VERIFIED 0x80090325u

typedef uint32_t CAMProxyResult;

/* The domain's NetBIOS name, DNS name and SID. */
typedef CAMProxyResult (*CAMProxyGetDomainInfoFunction)(
    const char* server, int verifyCertificate, const char* thumbprint,
    char** netbiosDomainName, char** dnsDomainName, char** domainSid);

/* Creates (or resets) the machine account for the host named by account in
 * container (NULL: the proxy's default container); hands back two strings
 * that the directory client's join with a machine account consumes. */
typedef CAMProxyResult (*CAMProxyCreateMachineAccountFunction)(
    const char* server, const char* account, const char* container,
    int verifyCertificate, const char* thumbprint, char** firstResult,
    char** secondResult);

/* Frees one string that the plug-in handed back. */
typedef void (*CAMProxyReleaseFunction)(void* pointer);

typedef struct CAMProxyClientOperationTable {
  void* reserved;                                     /* offset 0, unused */
  CAMProxyGetDomainInfoFunction GetDomainInfo;        /* offset 8 */
  CAMProxyCreateMachineAccountFunction CreateMachineAccount; /* offset 16 */
  CAMProxyReleaseFunction Release;                    /* offset 24 */
} CAMProxyClientOperationTable;

#ifdef __cplusplus
}
#endif

#endif
