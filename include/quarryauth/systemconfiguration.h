// The PAM service file and name-service switch model of namespace
// SystemConfiguration.
#ifndef QUARRYAUTH_SYSTEMCONFIGURATION_UMBRELLA_H
#define QUARRYAUTH_SYSTEMCONFIGURATION_UMBRELLA_H

#include <quarryauth/systemconfiguration/NSS.h>
#include <quarryauth/systemconfiguration/PAM.h>

#endif
