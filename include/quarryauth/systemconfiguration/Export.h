// Marks the declarations of the PAM and name-service models that form part
// of libquarryauth's public interface; the models stand beside the rest of
// the library and use nothing of it.
#ifndef QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT_H
#define QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT_H

#define QUARRYAUTH_SYSTEMCONFIGURATION_EXPORT \
  __attribute__((visibility("default")))

#endif
