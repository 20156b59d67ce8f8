// The name-service switch reader on whole files: this machine's
// /etc/nsswitch.conf (the sandbox's /etc is an overlay of the real one) and
// the committed files of data/nsswitch/ that cover the reader's odd cases.
// Each file either reads or raises only the reader's std::out_of_range; each
// file that reads is written as a fixed point and, where an independent scan
// can tell, keeps its number of services per database. Committed files also
// carry their exact expected output: NAME.expected for a file that reads,
// NAME.throws (what the model holds after the throw) for one that must throw.
#include <gtest/gtest.h>

#include <quarryauth/systemconfiguration.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace sc = SystemConfiguration;
namespace fs = std::filesystem;

namespace {

const char kSystemFile[] = "/etc/nsswitch.conf";

std::string Contents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string Write(const sc::NSSConfiguration& configuration) {
  std::ostringstream out;
  out << configuration;
  return out.str();
}

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' ||
         c == '\r';
}

// What an independent, simple look at a file expects: the services per
// database for lines without brackets, whether a line ends in exactly one
// blank after a service (which the reader refuses), and which databases it
// cannot count (lines with "[" or "]").
struct Prediction {
  bool throws = false;
  bool certain = true;  // false: a bracket line may change the outcome
  std::map<std::string, size_t> services;
  std::set<std::string> uncounted;
};

Prediction Predict(const std::string& text) {
  static const std::set<std::string> kDatabases = {
      "passwd",   "group",    "shadow",     "hosts",     "netmasks",
      "networks", "protocols", "services",  "ethers",    "rpc",
      "netgroup", "bootparams", "publickey", "automount", "aliases"};
  Prediction prediction;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream words(line);
    std::vector<std::string> word;
    for (std::string w; words >> w;) word.push_back(w);
    if (word.empty()) continue;
    const std::string database = word[0].substr(0, word[0].size() - 1);
    if (kDatabases.count(database) == 0) continue;
    if (line.find_first_of("[]") != std::string::npos) {
      prediction.uncounted.insert(database);
      prediction.certain = false;
      continue;
    }
    const size_t size = line.size();
    if (word.size() > 1 && size >= 2 && IsBlank(line[size - 1]) &&
        !IsBlank(line[size - 2])) {
      prediction.throws = true;
      return prediction;
    }
    prediction.services[database] += word.size() - 1;
  }
  return prediction;
}

// The checks every file gets; returns what was written when it read.
void CheckFile(const std::string& path, std::string* written,
               bool* threw) {
  SCOPED_TRACE(path);
  const std::string text = Contents(path);
  const Prediction prediction = Predict(text);
  sc::NSSConfiguration configuration;
  std::istringstream in(text);
  *threw = false;
  try {
    in >> configuration;  // any other exception fails the test
  } catch (const std::out_of_range&) {
    *threw = true;
  }
  *written = Write(configuration);
  if (prediction.certain) {
    EXPECT_EQ(prediction.throws, *threw);
  }
  if (*threw) return;
  EXPECT_TRUE(in.eof());

  for (const char* token :
       {"passwd", "group", "shadow", "hosts", "netmasks", "networks",
        "protocols", "services", "ethers", "rpc", "netgroup", "bootparams",
        "publickey", "automount", "aliases"}) {
    if (prediction.uncounted.count(token) != 0) continue;
    SCOPED_TRACE(token);
    const auto counted = prediction.services.find(token);
    const size_t expected =
        counted == prediction.services.end() ? 0 : counted->second;
    sc::NSSConfiguration probe(configuration);  // operator[] adds lines
    EXPECT_EQ(expected, probe[sc::NSSDatabase(std::string(token))].size());
  }

  // Write, read the output into a fresh model, write again.
  sc::NSSConfiguration again;
  std::istringstream reread(*written);
  ASSERT_NO_THROW(reread >> again);
  EXPECT_EQ(*written, Write(again));
}

std::vector<std::string> DataFiles() {
  std::vector<std::string> files;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(QUARRYAUTH_NSS_TEST_DATA)) {
    if (entry.path().extension() == ".conf") {
      files.push_back(entry.path().string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

TEST(NSSFilesTest, MachineFileReadsAndIsAFixedPoint) {
  ASSERT_TRUE(fs::exists(kSystemFile)) << "no " << kSystemFile;
  std::string written;
  bool threw = false;
  CheckFile(kSystemFile, &written, &threw);
  std::cout << kSystemFile << (threw ? " refused (std::out_of_range)" : " read")
            << ", written as:\n"
            << written;
}

TEST(NSSFilesTest, CommittedFilesReadAsExpected) {
  const std::vector<std::string> files = DataFiles();
  ASSERT_GE(files.size(), 8u);
  size_t read = 0, refused = 0;
  for (const std::string& path : files) {
    SCOPED_TRACE(path);
    std::string written;
    bool threw = false;
    CheckFile(path, &written, &threw);
    const fs::path base = fs::path(path).replace_extension();
    const std::string expected = base.string() + ".expected";
    const std::string throws = base.string() + ".throws";
    ASSERT_NE(fs::exists(expected), fs::exists(throws))
        << "needs exactly one of .expected and .throws";
    if (fs::exists(expected)) {
      EXPECT_FALSE(threw);
      EXPECT_EQ(Contents(expected), written);
      ++read;
    } else {
      EXPECT_TRUE(threw);
      EXPECT_EQ(Contents(throws), written);
      ++refused;
    }
  }
  std::cout << files.size() << " files: " << read << " read, " << refused
            << " refused\n";
}
