// The PAM entry reader and the token parsers. Entries are read one after
// the other until the stream gives out; each read either succeeds or raises
// InvalidControlException. Every entry that reads is written, read back
// into a fresh entry (which must not throw) and written again: the same
// bytes, an equal entry and the same control text. Every word of the input
// is also tried as a control, a facility and a database: a word that parses
// converts back to itself.
#include <quarryauth/systemconfiguration.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace sc = SystemConfiguration;

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

std::string Write(const sc::PAMEntry& entry) {
  std::ostringstream out;
  out << entry;
  return out.str();
}

// what() is a C string: a word with a NUL byte shows only up to it.
bool SameMessage(const char* what, const std::string& expected) {
  return std::string(what) == std::string(expected.c_str());
}

void CheckTokens(const std::string& word) {
  try {
    const sc::PAMControl control(word);
    Check(static_cast<std::string>(control) == word);
    Check(control == word);
  } catch (const sc::InvalidControlException& error) {
    Check(SameMessage(error.what(), "Invalid Control: " + word));
  }
  try {
    const sc::PAMFacility facility(word);
    Check(static_cast<std::string>(facility) == word);
  } catch (const sc::InvalidFacilityException& error) {
    Check(SameMessage(error.what(), "Invalid Facility: " + word));
  }
  try {
    const sc::NSSDatabase database(word);
    Check(static_cast<std::string>(database) == word);
  } catch (const sc::InvalidDatabaseException& error) {
    Check(SameMessage(error.what(), "Invalid Database: " + word));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);

  std::istringstream words(text);
  for (std::string word; words >> word;) CheckTokens(word);

  std::istringstream in(text);
  // Each round consumes at least one word or fails the stream.
  for (int round = 0; round < 10000 && !in.fail(); ++round) {
    sc::PAMEntry entry;
    try {
      in >> entry;
    } catch (const sc::InvalidControlException&) {
      continue;
    }
    const std::string first = Write(entry);
    sc::PAMEntry back;
    std::istringstream reread(first);
    reread >> back;  // any exception here is a failure
    Check(back == entry);
    Check(static_cast<std::string>(back.control()) ==
          static_cast<std::string>(entry.control()));
    Check(Write(back) == first);
  }
  return 0;
}
