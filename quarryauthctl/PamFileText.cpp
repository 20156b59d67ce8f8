#include "PamFileText.h"

#include <cctype>
#include <sstream>

#include "ExitStatus.h"

namespace quarryauthctl {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::size_t SkipBlanks(const std::string& text, std::size_t at) {
  while (at < text.size() && IsBlank(text[at])) ++at;
  return at;
}

std::size_t WordEnd(const std::string& text, std::size_t at) {
  while (at < text.size() && !IsBlank(text[at])) ++at;
  return at;
}

std::string BaseName(const std::string& module) {
  const std::string::size_type slash = module.rfind('/');
  return slash == std::string::npos ? module : module.substr(slash + 1);
}

// The numbers of the jumps in a control ("[success=2 default=ignore]"
// has one, 2), with their place in the text.
struct Jump {
  std::size_t start, end;
  int value;
};

std::vector<Jump> JumpsOf(const std::string& control) {
  std::vector<Jump> jumps;
  if (control.empty() || control.front() != '[') return jumps;
  for (std::size_t at = control.find('='); at != std::string::npos;
       at = control.find('=', at + 1)) {
    std::size_t end = at + 1;
    while (end < control.size() &&
           std::isdigit(static_cast<unsigned char>(control[end]))) {
      ++end;
    }
    const bool wholeWord =
        end < control.size() && (IsBlank(control[end]) || control[end] == ']');
    if (end > at + 1 && wholeWord) {
      jumps.push_back({at + 1, end, std::stoi(control.substr(at + 1, end - at - 1))});
    }
  }
  return jumps;
}

}  // namespace

std::string PamServicePath(const std::string& service) {
  if (service.empty() || service == "." || service == ".." ||
      service.find('/') != std::string::npos) {
    throw UsageError("'" + service + "' is not a PAM service name");
  }
  return "/etc/pam.d/" + service;
}

std::string PamBackupPath(const std::string& path) {
  return path + ".quarryauthctl-backup";
}

PamFileText::PamFileText(const std::string& path, const std::string& text)
    : path_(path) {
  std::string rest = text;
  endsWithNewline_ = rest.empty() || rest.back() == '\n';
  std::istringstream lines(rest);
  std::string content;
  std::size_t number = 0;
  while (std::getline(lines, content)) {
    ++number;
    Line line;
    line.text = content;
    if (!content.empty() && content.back() == '\\') {
      throw ModelRefusal("line " + std::to_string(number) + " of '" + path +
                         "' continues on the next line; the file is left "
                         "untouched");
    }
    if (!Parse(line)) {
      throw ModelRefusal("line " + std::to_string(number) + " of '" + path +
                         "' is not a PAM rule, an @include or a comment; the "
                         "file is left untouched");
    }
    lines_.push_back(line);
  }
}

bool PamFileText::Parse(Line& line) {
  const std::string& text = line.text;
  const std::size_t start = SkipBlanks(text, 0);
  if (start == text.size() || text[start] == '#' || text[start] == '@') {
    line.include = text.compare(start, 9, "@include ") == 0 ||
                   text.compare(start, 9, "@include\t") == 0;
    return start == text.size() || text[start] == '#' || line.include;
  }
  std::size_t typeStart = start;
  if (text[typeStart] == '-') ++typeStart;
  const std::size_t typeEnd = WordEnd(text, typeStart);
  line.facility = text.substr(typeStart, typeEnd - typeStart);
  for (char& c : line.facility) c = static_cast<char>(std::tolower(c));
  if (line.facility != "auth" && line.facility != "account" &&
      line.facility != "password" && line.facility != "session") {
    return false;
  }
  line.controlStart = SkipBlanks(text, typeEnd);
  if (line.controlStart < text.size() && text[line.controlStart] == '[') {
    const std::size_t close = text.find(']', line.controlStart);
    if (close == std::string::npos) return false;
    line.controlEnd = close + 1;
  } else {
    line.controlEnd = WordEnd(text, line.controlStart);
  }
  line.moduleStart = SkipBlanks(text, line.controlEnd);
  line.moduleEnd = WordEnd(text, line.moduleStart);
  line.rule = line.controlEnd > line.controlStart && line.moduleEnd > line.moduleStart;
  line.include = text.compare(line.controlStart, line.controlEnd - line.controlStart,
                              "include") == 0;
  return line.rule;
}

std::string PamFileText::Text() const {
  std::string text;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    text += lines_[i].text;
    if (i + 1 < lines_.size() || endsWithNewline_) text += '\n';
  }
  return text;
}

std::vector<std::size_t> PamFileText::Stack(const std::string& facility) const {
  std::vector<std::size_t> stack;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    if (lines_[i].rule && lines_[i].facility == facility) stack.push_back(i);
  }
  return stack;
}

std::size_t PamFileText::FindRule(const std::string& facility,
                                  const std::string& module) const {
  for (const std::size_t i : Stack(facility)) {
    const Line& line = lines_[i];
    const std::string name =
        line.text.substr(line.moduleStart, line.moduleEnd - line.moduleStart);
    if (name == module || BaseName(name) == module) return i;
  }
  return npos;
}

bool PamFileText::HasRules(const std::string& facility) const {
  return !Stack(facility).empty();
}

std::string PamFileText::IncludedService(const std::string& facility) const {
  for (const std::size_t i : Stack(facility)) {
    const std::string control = ControlOf(i);
    if (control == "include" || control == "substack") {
      const Line& line = lines_[i];
      return line.text.substr(line.moduleStart, line.moduleEnd - line.moduleStart);
    }
  }
  return std::string();
}

std::string PamFileText::ControlOf(std::size_t at) const {
  const Line& line = lines_[at];
  return line.text.substr(line.controlStart, line.controlEnd - line.controlStart);
}

std::size_t PamFileText::EndOfFacility(const std::string& facility) const {
  const std::vector<std::size_t> stack = Stack(facility);
  return stack.empty() ? lines_.size() : stack.back() + 1;
}

void PamFileText::AdjustJumps(const std::string& facility, std::size_t position,
                              int delta, std::size_t changedLine) {
  const std::vector<std::size_t> stack = Stack(facility);
  for (std::size_t index = 0; index < position && index < stack.size(); ++index) {
    Line& line = lines_[stack[index]];
    std::string control =
        line.text.substr(line.controlStart, line.controlEnd - line.controlStart);
    std::vector<Jump> jumps = JumpsOf(control);
    bool changed = false;
    // Rebuilt from the last jump back, so that earlier offsets hold.
    for (auto jump = jumps.rbegin(); jump != jumps.rend(); ++jump) {
      const std::size_t landing = index + jump->value + 1;
      if (landing < position) continue;
      for (std::size_t between = stack[index] + 1; between < changedLine; ++between) {
        if (lines_[between].include) {
          throw ModelRefusal("where the jump of line " +
                             std::to_string(stack[index] + 1) + " of '" + path_ +
                             "' lands depends on an included file; the file "
                             "is left untouched");
        }
      }
      if (delta < 0 && landing == position) {
        throw Failure("the jump of line " + std::to_string(stack[index] + 1) +
                      " of '" + path_ +
                      "' lands on this rule; change that line first");
      }
      control.replace(jump->start, jump->end - jump->start,
                      std::to_string(jump->value + delta));
      changed = true;
    }
    if (!changed) continue;
    const std::size_t oldLength = line.controlEnd - line.controlStart;
    line.text.replace(line.controlStart, oldLength, control);
    const std::size_t shift = control.size() - oldLength;
    line.controlEnd += shift;
    line.moduleStart += shift;
    line.moduleEnd += shift;
  }
}

void PamFileText::InsertRule(std::size_t at, const std::string& facility,
                             const std::string& control,
                             const std::string& module,
                             const std::vector<std::string>& arguments) {
  std::size_t position = 0;
  for (const std::size_t i : Stack(facility)) {
    if (i < at) ++position;
  }
  AdjustJumps(facility, position, +1, at);
  Line line;
  line.text = facility + "\t" + control + "\t" + module;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    line.text += (i == 0 ? "\t" : " ") + arguments[i];
  }
  Parse(line);
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at), line);
}

void PamFileText::RemoveRule(std::size_t at) {
  const std::string facility = lines_[at].facility;
  std::size_t position = 0;
  for (const std::size_t i : Stack(facility)) {
    if (i < at) ++position;
  }
  AdjustJumps(facility, position, -1, at);
  lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(at));
}

void PamFileText::SetArguments(std::size_t at,
                               const std::vector<std::string>& arguments) {
  Line& line = lines_[at];
  std::string text = line.text.substr(0, line.moduleEnd);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    text += (i == 0 ? "\t" : " ") + arguments[i];
  }
  line.text = text;
}

}  // namespace quarryauthctl
