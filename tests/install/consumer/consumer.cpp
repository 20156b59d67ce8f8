// A program outside the project that uses only the installed interface.
#include <quarryauth/authentication.h>
#include <quarryauth/systemconfiguration.h>

#include <iostream>

static_assert(__cplusplus >= 201703L,
              "the quarryauth target must compile its users as C++17");

namespace qa = quarry::authentication;

int main() {
  try {
    qa::ThrowMappedException(1326);
  } catch (const qa::LogonFailureException& error) {
    if (error.GetCode() != 1326) return 1;
    std::cout << "consumer: " << error.what() << '\n';
  }
  try {
    qa::ProviderConfiguration missing;
    return 1;
  } catch (const qa::IOError& error) {
    std::cout << "consumer: " << error.what() << '\n';
  }
  return 0;
}
