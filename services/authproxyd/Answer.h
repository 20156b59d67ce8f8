// What the proxy answers a request with: an HTTP status and a JSON body.
#ifndef QUARRY_AUTHPROXYD_ANSWER_H
#define QUARRY_AUTHPROXYD_ANSWER_H

#include <string>

namespace quarry::authproxyd {

struct Answer {
  int status = 200;
  std::string body;  // JSON
};

// {"error": text} with status.
Answer ErrorAnswer(int status, const std::string& text);

}  // namespace quarry::authproxyd

#endif
