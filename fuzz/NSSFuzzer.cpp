// The name-service switch reader: any input either reads or raises the
// reader's std::out_of_range (a service word followed by exactly one
// trailing character); nothing else. What was read is written, and the
// written text always reads again without error. Writing is a fixed point
// where the format round-trips: the reader ends a line at a "]" (the move
// after a service jumps past it), so a fixed point needs no "[" or "]" in
// any module or criterion, and criteria only on a database's sole service.
#include <quarryauth/systemconfiguration.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <sstream>
#include <stdexcept>
#include <string>

namespace sc = SystemConfiguration;

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

std::string Write(const sc::NSSConfiguration& configuration) {
  std::ostringstream out;
  out << configuration;
  return out.str();
}

bool HasBracket(const std::string& text) {
  return text.find_first_of("[]") != std::string::npos;
}

bool RoundTrips(std::deque<sc::NSSService>& services) {
  for (sc::NSSService& service : services) {
    if (service.module().empty() || HasBracket(service.module())) return false;
    for (const std::string& parameter : service.parameters()) {
      if (parameter.empty() || HasBracket(parameter)) return false;
    }
    if (!service.parameters().empty() && services.size() != 1) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  sc::NSSConfiguration configuration;
  std::istringstream in(text);
  try {
    in >> configuration;
    Check(in.eof());
  } catch (const std::out_of_range&) {
  }

  // Reading only ever makes known databases, so writing cannot throw.
  const std::string first = Write(configuration);

  sc::NSSConfiguration again;
  std::istringstream reread(first);
  reread >> again;  // any exception here is a failure
  const std::string second = Write(again);

  bool fixedPoint = true;
  sc::NSSConfiguration probe(configuration);  // operator[] adds databases
  for (std::uint32_t value = sc::NSSDatabase::Passwd;
       value <= sc::NSSDatabase::Aliases; ++value) {
    if (!RoundTrips(probe[static_cast<sc::NSSDatabase::Database>(value)])) {
      fixedPoint = false;
    }
  }
  if (fixedPoint) Check(second == first);
  return 0;
}
