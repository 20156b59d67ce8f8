#include "SyslogCapture.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <syslog.h>

namespace quarryauth_test {

namespace {

std::mutex logLock;
std::vector<LogLine>& Lines() {
  static std::vector<LogLine> lines;
  return lines;
}

void Capture(int priority, const char* format, va_list arguments) {
  char text[1024];
  std::vsnprintf(text, sizeof text, format, arguments);
  std::lock_guard<std::mutex> lock(logLock);
  Lines().push_back(LogLine{priority, text});
}

}  // namespace

std::vector<LogLine> CapturedLog() {
  std::lock_guard<std::mutex> lock(logLock);
  return Lines();
}

}  // namespace quarryauth_test

// Exported, so that the library's calls bind to these rather than libc's.
extern "C" __attribute__((visibility("default"))) void vsyslog(
    int priority, const char* format, va_list arguments) {
  quarryauth_test::Capture(priority, format, arguments);
}

extern "C" __attribute__((visibility("default"))) void __vsyslog_chk(
    int priority, int, const char* format, va_list arguments) {
  quarryauth_test::Capture(priority, format, arguments);
}
