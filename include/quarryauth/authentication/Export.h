// Marks the declarations that form libquarryauth's public interface; every
// other symbol stays hidden.
#ifndef QUARRYAUTH_AUTHENTICATION_EXPORT_H
#define QUARRYAUTH_AUTHENTICATION_EXPORT_H

#define QUARRYAUTH_EXPORT __attribute__((visibility("default")))

#endif
