// A PAM service file as its lines, for edits that keep every line they do
// not touch byte for byte (comments, pam-auth-update's markers, spacing,
// "@include" lines and "-" rules) and keep every jump of a rule
// ("[success=2 default=ignore]") landing on the rule it landed on before.
#ifndef QUARRYAUTHCTL_PAMFILETEXT_H
#define QUARRYAUTHCTL_PAMFILETEXT_H

#include <cstddef>
#include <string>
#include <vector>

namespace quarryauthctl {

// "/etc/pam.d/" + service; UsageError when service is no file name.
std::string PamServicePath(const std::string& service);

// The backup of a service file's previous content: beside it, under a name
// that no program asks PAM for.
std::string PamBackupPath(const std::string& path);

class PamFileText {
 public:
  // Failure naming path when a line cannot be read as a comment, a blank,
  // an "@include" or a rule, or continues on the next line.
  PamFileText(const std::string& path, const std::string& text);

  std::string Text() const;

  // The line of the rule of facility whose module is module (as written,
  // or its file name), or npos.
  std::size_t FindRule(const std::string& facility,
                       const std::string& module) const;
  bool HasRules(const std::string& facility) const;
  // The service that the first "include" or "substack" rule of facility
  // names, or empty.
  std::string IncludedService(const std::string& facility) const;
  // The control of the rule on line at, as written.
  std::string ControlOf(std::size_t at) const;
  // The line after the last rule of facility, or the end of the file.
  std::size_t EndOfFacility(const std::string& facility) const;

  // Inserts "facility<TAB>control<TAB>module[<TAB>arguments]" before line
  // at and lengthens the jumps that now cross it.
  void InsertRule(std::size_t at, const std::string& facility,
                  const std::string& control, const std::string& module,
                  const std::vector<std::string>& arguments);
  // Removes the rule on line at and shortens the jumps that crossed it;
  // Failure when a jump lands on it.
  void RemoveRule(std::size_t at);
  // Replaces the arguments of the rule on line at, keeping the rest.
  void SetArguments(std::size_t at, const std::vector<std::string>& arguments);

  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

 private:
  struct Line {
    std::string text;
    bool rule = false;
    bool include = false;  // "@include", or a rule whose control is include
    std::string facility;  // without a leading "-"
    std::size_t controlStart = 0, controlEnd = 0;  // offsets in text
    std::size_t moduleStart = 0, moduleEnd = 0;
  };

  static bool Parse(Line& line);
  // The rules of facility, as line numbers, in order.
  std::vector<std::size_t> Stack(const std::string& facility) const;
  // Adds delta to every jump of an earlier rule of facility that reaches
  // position (an index into its stack), where a rule is inserted or removed
  // at changedLine; refuses where an include lies in between.
  void AdjustJumps(const std::string& facility, std::size_t position,
                   int delta, std::size_t changedLine);

  std::string path_;
  std::vector<Line> lines_;
  bool endsWithNewline_ = true;
};

}  // namespace quarryauthctl

#endif
