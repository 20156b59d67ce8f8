// Captures the library's log lines: the test program defines vsyslog, which
// takes the place of libc's for the library.
#ifndef QUARRYAUTH_TESTS_SYSLOGCAPTURE_H
#define QUARRYAUTH_TESTS_SYSLOGCAPTURE_H

#include <ostream>
#include <string>
#include <vector>

namespace quarryauth_test {

struct LogLine {
  int priority;
  std::string text;

  bool operator==(const LogLine& other) const {
    return priority == other.priority && text == other.text;
  }
};

std::vector<LogLine> CapturedLog();

// Shows a log line readably in test failure messages.
inline void PrintTo(const LogLine& line, std::ostream* out) {
  *out << "{" << line.priority << ", \"" << line.text << "\"}";
}

}  // namespace quarryauth_test

#endif
