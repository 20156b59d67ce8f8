#include "services/authproxyd/Answer.h"

#include <nlohmann/json.hpp>

namespace quarry::authproxyd {

Answer ErrorAnswer(int status, const std::string& text) {
  return Answer{status, nlohmann::json{{"error", text}}.dump()};
}

}  // namespace quarry::authproxyd
