// The proxy's answer as it arrives: an HTTP/1.x status line, headers and a
// body of Content-Length bytes (or up to the end of the connection).
#ifndef QUARRYCAM_HTTPREPLY_H
#define QUARRYCAM_HTTPREPLY_H

#include <string>

namespace quarrycam {

enum class ReplyState { Incomplete, Complete, Garbled };

// Parses what has arrived so far; atEnd says that nothing more will. On
// Complete, status and body are set.
ReplyState ParseHttpReply(const std::string& raw, bool atEnd, int& status,
                          std::string& body);

}  // namespace quarrycam

#endif
