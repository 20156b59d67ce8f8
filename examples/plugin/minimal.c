/* quarryminimal: the smallest useful Active Directory client plug-in.
 *
 * It belongs to no domain and talks to no network: it reports the host as
 * not joined and puts user names into the domain's canonical form. Every
 * other operation is left null, which the library reports as "not
 * implemented" (status 120) without calling anything.
 *
 * Build it against the installed headers and put it where the library
 * looks for plug-ins:
 *   cc -shared -fPIC -o libquarryminimal.so minimal.c \
 *      $(pkg-config --cflags quarryauth)
 *   install -m 0644 libquarryminimal.so "$(pkg-config --variable=plugindir quarryauth)"
 * then name it in /etc/quarry/quarryauth/provider.conf:
 *   provider = "quarryminimal"
 *
 * Threads: the library calls the operations from several threads at once
 * and may stop waiting for a status query that takes too long, leaving the
 * call running on its own. Nothing here keeps state, so nothing needs a
 * lock. */
#include <quarryauth/plugin/ActiveDirectoryClient.h>

#include <stdlib.h>
#include <string.h>

#define NOT_ENOUGH_MEMORY 8u /* Windows' ERROR_NOT_ENOUGH_MEMORY */
#define NOT_JOINED 2692u     /* Windows' NERR_SetupNotJoined */
#define TRUST_NOT_JOINED 0u

static const char kNetbiosDomain[] = "EXAMPLE";

static ADClientStatus GetActiveDomain(ADClientDomainName* domain,
                                      ADClientReleaseFunction* release) {
  (void)domain;
  (void)release;
  /* After a non-zero status the library reads and releases nothing. */
  return NOT_JOINED;
}

static ADClientTrustState GetDomainTrustState(void) {
  return TRUST_NOT_JOINED;
}

/* "alice" becomes "EXAMPLE\alice"; a name that already names its domain
 * ("OTHER\bob" or "bob@other.test") is handed back as it is. The text is
 * the plug-in's: the library copies it and then calls *release on it. */
static ADClientStatus ConvertCanonicalUsername(
    const char* name, char** converted, ADClientReleaseFunction* release) {
  const int qualified = strchr(name, '\\') != NULL || strchr(name, '@') != NULL;
  const size_t prefix = qualified ? 0 : strlen(kNetbiosDomain) + 1;
  char* text = malloc(prefix + strlen(name) + 1);
  if (text == NULL) return NOT_ENOUGH_MEMORY;
  if (qualified) {
    strcpy(text, name);
  } else {
    strcpy(text, kNetbiosDomain);
    strcat(text, "\\");
    strcat(text, name);
  }
  *converted = text;
  *release = free;
  return ADCLIENT_STATUS_SUCCESS;
}

ADCLIENT_EXPORT ADClientMetadata ActiveDirectoryClientMetadata = {
    ACTIVE_DIRECTORY_CLIENT_METADATA_VERSION,
    "pam_sss.so", /* PAM module: users are checked by SSSD */
    NULL,         /* no module parameters */
    "sss",        /* name-service module */
    NULL,
};

ADCLIENT_EXPORT ADClientOperations ActiveDirectoryClientOperations = {
    .version = ACTIVE_DIRECTORY_CLIENT_OPERATIONS_VERSION,
    .GetActiveDomain = GetActiveDomain,
    .GetDomainTrustState = GetDomainTrustState,
    .ConvertCanonicalUsername = ConvertCanonicalUsername,
};
