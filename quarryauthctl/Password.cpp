#include "Password.h"

#include <string.h>
#include <termios.h>
#include <unistd.h>

#include <iostream>

#include "ExitStatus.h"

namespace quarryauthctl {

namespace {

// Turns the terminal's echo off for its lifetime.
class EchoOff {
 public:
  explicit EchoOff(int terminal) : terminal(terminal) {
    saved = ::tcgetattr(terminal, &original) == 0;
    if (!saved) return;
    termios quiet = original;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(terminal, TCSAFLUSH, &quiet);
  }
  ~EchoOff() {
    if (saved) ::tcsetattr(terminal, TCSAFLUSH, &original);
  }
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  int terminal;
  termios original;
  bool saved;
};

void ReadLine(std::string& line) {
  if (!std::getline(std::cin, line) && line.empty()) {
    throw Failure("no password was given on standard input");
  }
  if (!line.empty() && line.back() == '\r') line.pop_back();
}

}  // namespace

Secret::~Secret() {
  if (!text.empty()) ::explicit_bzero(&text[0], text.size());
}

void AddPasswordOptions(CLI::App& command, PasswordSource& source) {
  command.add_flag("--password-stdin", source.fromStandardInput,
                   "Read the password from the first line of standard input");
  // Hidden; it exists to explain the refusal instead of "not expected".
  source.refusedOption = command.add_option("--password", source.refusedText)
                             ->expected(0, 1)
                             ->group("");
}

void RefusePasswordOnCommandLine(const PasswordSource& source) {
  if (source.refusedOption != nullptr && source.refusedOption->count() > 0) {
    throw UsageError(
        "a password is never taken from the command line, where other users "
        "and the shell history can see it; type it at the prompt or pass it "
        "on standard input with --password-stdin");
  }
}

void ReadPassword(const PasswordSource& source, const std::string& user,
                  Secret& password) {
  RefusePasswordOnCommandLine(source);
  if (source.fromStandardInput) {
    ReadLine(password.Text());
    return;
  }
  if (!::isatty(STDIN_FILENO)) {
    throw UsageError(
        "standard input is not a terminal to prompt for the password of '" +
        user + "'; pass the password on standard input with --password-stdin");
  }
  std::cerr << "Password for " << user << ": " << std::flush;
  {
    EchoOff quiet(STDIN_FILENO);
    ReadLine(password.Text());
  }
  std::cerr << '\n';
}

}  // namespace quarryauthctl
