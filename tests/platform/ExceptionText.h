// Capturing what an operation throws, so that tests compare exact texts.
#ifndef QUARRY_TESTS_PLATFORM_EXCEPTIONTEXT_H
#define QUARRY_TESTS_PLATFORM_EXCEPTIONTEXT_H

#include <string>

namespace quarry::test {

// The what() text of the Error that operation throws, or "no exception".
template <class Error, class Operation>
std::string ExceptionText(Operation operation) {
  try {
    operation();
  } catch (const Error& error) {
    return error.what();
  }
  return "no exception";
}

}  // namespace quarry::test

#endif
