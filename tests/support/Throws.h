#ifndef TESTS_SUPPORT_THROWS_H
#define TESTS_SUPPORT_THROWS_H

#include <exception>
#include <memory>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

#include "trustlib/util/TrustManagerException.h"

// Whether the call throws exactly this type, by value, with exactly this message. Messages
// are compared as C strings, since a formatted one carries its NUL.
template <class Exception, class Call>
testing::AssertionResult throwsWith(Call call, const std::string& message) {
  try {
    call();
  } catch (const std::exception& caught) {
    if (typeid(caught) != typeid(Exception)) {
      return testing::AssertionFailure() << "threw a " << typeid(caught).name();
    }
    if (message != caught.what()) {
      return testing::AssertionFailure()
             << "message\n  " << caught.what() << "\ninstead of\n  " << message;
    }
    return testing::AssertionSuccess();
  } catch (TrustManagerException* caught) {
    const std::unique_ptr<TrustManagerException> owner(caught);
    return testing::AssertionFailure() << "threw a pointer: " << owner->what();
  }
  return testing::AssertionFailure() << "threw nothing";
}

// Whether the call throws a pointer to an exception with exactly this message.
template <class Call>
testing::AssertionResult throwsPointerWith(Call call, const std::string& message) {
  try {
    call();
  } catch (TrustManagerException* caught) {
    const std::unique_ptr<TrustManagerException> owner(caught);
    return message == owner->what() ? testing::AssertionSuccess()
                                    : testing::AssertionFailure() << "message\n  " << owner->what()
                                                                  << "\ninstead of\n  " << message;
  }
  return testing::AssertionFailure() << "threw nothing";
}

#define EXPECT_THROWS(statement, Type, message) \
  EXPECT_TRUE(throwsWith<Type>([&] { statement; }, message))

#define EXPECT_THROWS_POINTER(statement, message) \
  EXPECT_TRUE(throwsPointerWith([&] { statement; }, message))

#endif
