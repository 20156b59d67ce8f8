#include "HttpReply.h"

#include <cctype>
#include <sstream>

namespace quarrycam {

namespace {

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string Trimmed(const std::string& text) {
  const std::string::size_type first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return std::string();
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool IsDigits(const std::string& text) {
  return !text.empty() && text.size() <= 9 &&
         text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

ReplyState ParseHttpReply(const std::string& raw, bool atEnd, int& status,
                          std::string& body) {
  static const std::string kVersion = "HTTP/1.";
  const std::string start = raw.substr(0, kVersion.size());
  if (kVersion.compare(0, start.size(), start) != 0) return ReplyState::Garbled;
  const std::string::size_type headerEnd = raw.find("\r\n\r\n");
  if (headerEnd == std::string::npos) {
    return atEnd ? ReplyState::Garbled : ReplyState::Incomplete;
  }
  std::istringstream header(raw.substr(0, headerEnd));
  std::string line;
  std::getline(header, line);
  // "HTTP/1.1 200 OK"
  if (line.size() < 12 || line[8] != ' ' || !IsDigits(line.substr(9, 3)) ||
      (line.size() > 12 && line[12] != ' ' && line[12] != '\r')) {
    return ReplyState::Garbled;
  }
  const int code = std::stoi(line.substr(9, 3));
  std::string::size_type length = std::string::npos;
  while (std::getline(header, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const std::string::size_type colon = line.find(':');
    if (colon == std::string::npos) return ReplyState::Garbled;
    const std::string name = Lower(Trimmed(line.substr(0, colon)));
    const std::string value = Trimmed(line.substr(colon + 1));
    if (name == "content-length") {
      if (!IsDigits(value)) return ReplyState::Garbled;
      length = std::stoul(value);
    } else if (name == "transfer-encoding" && Lower(value) != "identity") {
      return ReplyState::Garbled;  // the proxy never chunks its answers
    }
  }
  const std::string received = raw.substr(headerEnd + 4);
  if (length == std::string::npos) {
    if (!atEnd) return ReplyState::Incomplete;
    length = received.size();
  }
  if (received.size() < length) {
    return atEnd ? ReplyState::Garbled : ReplyState::Incomplete;
  }
  status = code;
  body = received.substr(0, length);
  return ReplyState::Complete;
}

}  // namespace quarrycam
