#ifndef TESTS_TRUSTLIB_RECORDHASH_H
#define TESTS_TRUSTLIB_RECORDHASH_H

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "trustlib/CertificateException.h"
#include "trustlib/util/Utilities.h"

// The hash of a record as hexadecimal digits.
inline std::string hashOf(const CertificateException& exception) {
  unsigned char* digest = nullptr;
  unsigned int length = 0;
  EXPECT_EQ(0, exception.hash(&digest, &length));
  std::string hex;
  Utilities::binaryToHex(digest, length, &hex);
  free(digest);
  return hex;
}

#endif
