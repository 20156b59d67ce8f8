// The library reports what it does (join attempts through a proxy,
// time-outs, answers from the cache, host names outside the domain) to the
// system log only. With --verbose the tool copies each such line to
// standard error as well, as "quarryauthctl: TEXT".
#ifndef QUARRYAUTHCTL_LIBRARYLOG_H
#define QUARRYAUTHCTL_LIBRARYLOG_H

namespace quarryauthctl {

void OpenLibraryLog(bool verbose);

}  // namespace quarryauthctl

#endif
