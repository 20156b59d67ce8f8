// The host's state folder /var/lib/quarry holds the configuration store and
// the plug-ins' records of the host's membership: only root may look in.
#ifndef QUARRY_COMMON_PRIVATEFOLDER_H
#define QUARRY_COMMON_PRIVATEFOLDER_H

namespace quarry::common {

// Creates the folder at path with mode exactly 0700 (whatever the umask)
// and makes the new entry durable. A folder that exists already is left as
// it is, mode included: the administrator may have had reasons. Returns 0,
// or the errno of what failed.
int CreatePrivateFolder(const char* path);

}  // namespace quarry::common

#endif
