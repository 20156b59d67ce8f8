// Reading an administrator's password: from a prompt without echo on a
// terminal, or from standard input when asked. Never from the command line
// or the environment, where other users and shell histories see it.
#ifndef QUARRYAUTHCTL_PASSWORD_H
#define QUARRYAUTHCTL_PASSWORD_H

#include <CLI/CLI.hpp>
#include <string>

namespace quarryauthctl {

// A password, wiped from memory when it goes.
class Secret {
 public:
  Secret() = default;
  ~Secret();
  Secret(const Secret&) = delete;
  Secret& operator=(const Secret&) = delete;

  std::string& Text() { return text; }
  const char* c_str() const { return text.c_str(); }

 private:
  std::string text;
};

// The options that choose where the password comes from, and the refusal
// of a password given on the command line.
struct PasswordSource {
  bool fromStandardInput = false;
  std::string refusedText;
  CLI::Option* refusedOption = nullptr;
};

// Adds --password-stdin, and a hidden --password that is refused.
void AddPasswordOptions(CLI::App& command, PasswordSource& source);

// UsageError when a password was given on the command line.
void RefusePasswordOnCommandLine(const PasswordSource& source);

// Reads the password of user into password. On a terminal the prompt goes
// to standard error and the typed text is not echoed. UsageError when there
// is no terminal and --password-stdin was not given.
void ReadPassword(const PasswordSource& source, const std::string& user,
                  Secret& password);

}  // namespace quarryauthctl

#endif
