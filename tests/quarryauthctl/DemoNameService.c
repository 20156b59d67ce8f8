/* A name-service module for the demonstration plug-in's "quarrydemo" in
 * the tests: it answers passwd and group, and knows nobody. Built with
 * hidden symbols by default, so the entry points say otherwise. */
#include <errno.h>
#include <grp.h>
#include <nss.h>
#include <pwd.h>
#include <stddef.h>

__attribute__((visibility("default"))) enum nss_status _nss_quarrydemo_getpwnam_r(const char* name,
                                           struct passwd* entry, char* buffer,
                                           size_t size, int* error) {
  (void)name, (void)entry, (void)buffer, (void)size;
  *error = ENOENT;
  return NSS_STATUS_NOTFOUND;
}

__attribute__((visibility("default"))) enum nss_status _nss_quarrydemo_getgrnam_r(const char* name,
                                           struct group* entry, char* buffer,
                                           size_t size, int* error) {
  (void)name, (void)entry, (void)buffer, (void)size;
  *error = ENOENT;
  return NSS_STATUS_NOTFOUND;
}
