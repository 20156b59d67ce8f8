// The PAM policy reader: any input either reads or raises one of the token
// exceptions (InvalidFacilityException, InvalidControlException). What was
// read, whole or up to the failing line, is written; when every rule has
// its module (an empty module, possible only for the very last rule of the
// input, makes the writer's empty field swallow the next line on reading),
// writing is a fixed point: write, read into a fresh policy, write again
// gives the same bytes and the same rules per facility.
#include <quarryauth/systemconfiguration.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace sc = SystemConfiguration;

namespace {

const sc::PAMFacility::Facility kFacilities[] = {
    sc::PAMFacility::Account, sc::PAMFacility::Auth, sc::PAMFacility::Password,
    sc::PAMFacility::Session};

std::string Write(const sc::PAMPolicy& policy) {
  std::ostringstream out;
  out << policy;
  return out.str();
}

void Check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  sc::PAMPolicy policy("fuzz");
  std::istringstream in(text);
  try {
    in >> policy;
  } catch (const sc::InvalidFacilityException&) {
  } catch (const sc::InvalidControlException&) {
  }

  // Reading only ever makes stacks with rules, of known facilities and
  // controls, so writing cannot throw.
  const std::string first = Write(policy);
  Check(first.compare(0, 11, "#%PAM-1.0\n\n") == 0);

  bool everyModule = true;
  sc::PAMPolicy probe(policy);  // operator[] adds empty stacks
  for (sc::PAMFacility::Facility facility : kFacilities) {
    sc::PAMStack& stack = probe[facility];
    for (sc::PAMEntry& entry : stack) {
      if (entry.module().empty()) everyModule = false;
      const sc::PAMStack::iterator found = stack.find(entry.module());
      Check(found != stack.end() && found->module() == entry.module());
    }
  }
  if (!everyModule) return 0;

  sc::PAMPolicy again("again");
  std::istringstream reread(first);
  reread >> again;  // any exception here is a failure
  Check(Write(again) == first);
  for (sc::PAMFacility::Facility facility : kFacilities) {
    Check(again[facility].size() == probe[facility].size());
  }
  return 0;
}
