// Everything of libquarryauth's namespace quarry::authentication, with the
// platform exceptions that reach callers unchanged.
#ifndef QUARRYAUTH_AUTHENTICATION_UMBRELLA_H
#define QUARRYAUTH_AUTHENTICATION_UMBRELLA_H

#include <quarryauth/authentication/ActiveDirectoryConfigStore.h>
#include <quarryauth/authentication/ActiveDirectoryProvider.h>
#include <quarryauth/authentication/ActiveDirectoryStore.h>
#include <quarryauth/authentication/AtomicFileStream.h>
#include <quarryauth/authentication/AuthenticationStore.h>
#include <quarryauth/authentication/AuthenticationStoreFactory.h>
#include <quarryauth/authentication/CAMProxy.h>
#include <quarryauth/authentication/CAMRecords.h>
#include <quarryauth/authentication/CAMThumbprintStore.h>
#include <quarryauth/authentication/Configuration.h>
#include <quarryauth/authentication/Domain.h>
#include <quarryauth/authentication/ErrorMapping.h>
#include <quarryauth/authentication/Exception.h>
#include <quarryauth/authentication/LibraryConfiguration.h>
#include <quarryauth/authentication/NoRemoteAuthenticationStore.h>
#include <quarryauth/authentication/ThreadUtil.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStoreException.h>
#include <quarryauth/platform/tesselctl/HostCtlException.h>

#endif
