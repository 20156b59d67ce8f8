// What the tests of the PAM and name-service models share: a piece of a
// model as it writes itself, and the message of what a call throws.
#ifndef QUARRYAUTH_TESTS_SUPPORT_MODELTEXT_H
#define QUARRYAUTH_TESTS_SUPPORT_MODELTEXT_H

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace quarry_test {

template <class T>
std::string Written(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

// The message of the exception that call throws, which must be of class E;
// a test failure when it throws nothing.
template <class E, class F>
std::string MessageOf(F call) {
  try {
    call();
  } catch (const E& error) {
    return error.what();
  }
  ADD_FAILURE() << "nothing thrown";
  return "<nothing thrown>";
}

}  // namespace quarry_test

#endif
