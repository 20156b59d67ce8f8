// The library's one way into the system log. Internal; not installed.
#ifndef QUARRYAUTH_AUTHENTICATION_LOG_H
#define QUARRYAUTH_AUTHENTICATION_LOG_H

namespace quarry {
namespace authentication {

// Writes one line at a syslog priority (LOG_ERR, LOG_WARNING, LOG_INFO),
// printf-style, without a prefix of the library's own.
void Log(int priority, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

}  // namespace authentication
}  // namespace quarry

#endif
