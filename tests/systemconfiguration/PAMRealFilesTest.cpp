// The PAM policy reader on the real PAM service files of this machine (the
// sandbox's /etc is an overlay of the real one): every file either reads, or
// raises only the model's own exceptions with the message an independent scan
// of the file predicts; every file that reads is written as a fixed point and
// keeps its number of rules per facility.
#include <gtest/gtest.h>

#include <quarryauth/systemconfiguration.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace sc = SystemConfiguration;
namespace fs = std::filesystem;

namespace {

const char kPamDirectory[] = "/etc/pam.d";

// What an independent, line-by-line look at a file expects of the reader.
struct Prediction {
  enum Outcome { Reads, BadFacility, BadControl, Unpredictable };
  Outcome outcome = Reads;
  std::string message;                  // for BadFacility and BadControl
  std::map<std::string, size_t> rules;  // facility token -> rule lines
};

std::vector<std::string> Words(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> words;
  std::string word;
  while (in >> word) words.push_back(word);
  return words;
}

// Deliberately simple: one rule per line, first word the facility, second
// the control (a bracketed list closed on the same line), then the module.
// Lines that need more than that (a rule that spans lines) make the
// prediction give up on the outcome.
Prediction Predict(const std::string& path) {
  static const std::set<std::string> kFacilities = {"account", "auth",
                                                    "password", "session"};
  static const std::set<std::string> kControls = {
      "required", "requisite", "sufficient", "optional", "include", "substack"};
  Prediction prediction;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    const std::vector<std::string> words = Words(line);
    if (words.empty() || words[0][0] == '#') continue;
    if (kFacilities.count(words[0]) == 0) {
      prediction.outcome = Prediction::BadFacility;
      prediction.message = "Invalid Facility: " + words[0];
      return prediction;
    }
    if (words.size() < 2) {
      prediction.outcome = Prediction::Unpredictable;
      return prediction;
    }
    size_t next = 2;
    if (words[1][0] == '[') {
      while (words[next - 1].back() != ']' && next < words.size()) ++next;
      if (words[next - 1].back() != ']') {
        prediction.outcome = Prediction::Unpredictable;
        return prediction;
      }
    } else if (kControls.count(words[1]) == 0) {
      prediction.outcome = Prediction::BadControl;
      prediction.message = "Invalid Control: " + words[1];
      return prediction;
    }
    if (next >= words.size()) {  // no module on this line
      prediction.outcome = Prediction::Unpredictable;
      return prediction;
    }
    ++prediction.rules[words[0]];
  }
  return prediction;
}

std::string Write(const sc::PAMPolicy& policy) {
  std::ostringstream out;
  out << policy;
  return out.str();
}

std::vector<std::string> ServiceFiles() {
  std::vector<std::string> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(kPamDirectory)) {
    if (entry.is_regular_file()) files.push_back(entry.path().string());
  }
  return files;
}

}  // namespace

TEST(PAMRealFilesTest, EveryServiceFileReadsOrRaisesTheModelsExceptions) {
  ASSERT_TRUE(fs::is_directory(kPamDirectory)) << "no /etc/pam.d";
  const std::vector<std::string> files = ServiceFiles();
  ASSERT_FALSE(files.empty());
  size_t read = 0, refused = 0;
  for (const std::string& path : files) {
    SCOPED_TRACE(path);
    const Prediction prediction = Predict(path);
    sc::PAMPolicy policy(fs::path(path).filename().string());
    std::ifstream in(path);
    ASSERT_TRUE(in.is_open());
    std::string failure;
    bool facilityFailure = false;
    // Any other exception escapes and fails the test.
    try {
      in >> policy;
    } catch (const sc::InvalidFacilityException& error) {
      failure = error.what();
      facilityFailure = true;
    } catch (const sc::InvalidControlException& error) {
      failure = error.what();
    }

    switch (prediction.outcome) {
      case Prediction::Reads:
        EXPECT_EQ("", failure);
        break;
      case Prediction::BadFacility:
        EXPECT_TRUE(facilityFailure);
        EXPECT_EQ(prediction.message, failure);
        break;
      case Prediction::BadControl:
        EXPECT_FALSE(facilityFailure);
        EXPECT_EQ(prediction.message, failure);
        break;
      case Prediction::Unpredictable:
        break;
    }
    std::cout << "  " << path << ": "
              << (failure.empty() ? "read" : "refused, " + failure) << '\n';
    if (!failure.empty()) {
      ++refused;
      continue;
    }
    ++read;

    // Rules per facility, against the independent count.
    const std::string first = Write(policy);
    if (prediction.outcome == Prediction::Reads) {
      sc::PAMPolicy probe(policy);  // operator[] would add empty stacks
      for (const char* token : {"account", "auth", "password", "session"}) {
        SCOPED_TRACE(token);
        const auto counted = prediction.rules.find(token);
        EXPECT_EQ(counted == prediction.rules.end() ? 0u : counted->second,
                  probe[sc::PAMFacility(std::string(token))].size());
      }
    }

    // Write, read the output into a fresh policy, write again.
    sc::PAMPolicy again("again");
    std::istringstream reread(first);
    ASSERT_NO_THROW(reread >> again);
    EXPECT_EQ(first, Write(again));
    EXPECT_EQ(0u, first.rfind("#%PAM-1.0\n\n", 0));
  }
  std::cout << files.size() << " files: " << read << " read, " << refused
            << " refused\n";
}
