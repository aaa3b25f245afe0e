// A program of its own: it replaces the operator new that the codec allocates by.
#include <string>

#include <gtest/gtest.h>

#include "platform/ppscodec/ppscodec.h"
#include "tests/support/FailingAllocation.h"

namespace {

// Returns the first code of an encoding that is allowed `allocations` of them.
int encodeWith(int allocations) {
  const std::string value(1000, 'x');
  pps_encoder_t encoder = {};
  allowAllocations(allocations);
  int result = pps_encoder_initialize(&encoder, true);
  if (result == PPS_OK) {
    pps_encoder_start_object(&encoder, nullptr);
    pps_encoder_add_string(&encoder, "member", value.c_str());
    pps_encoder_start_array(&encoder, "array");
    pps_encoder_end_array(&encoder);
    result = pps_encoder_end_object(&encoder);
  }
  allowAllocations(-1);
  EXPECT_EQ(result == PPS_OK, pps_encoder_buffer(&encoder) != nullptr);
  pps_encoder_cleanup(&encoder);
  return result;
}

int decodeWith(int allocations) {
  std::string text = "a:json:{\"b\":[1,2,{\"c\":[true]}]}\nd::e\n";
  pps_decoder_t decoder = {};
  allowAllocations(allocations);
  int result = pps_decoder_initialize(&decoder, text.data());
  if (result == PPS_OK) result = pps_decoder_push(&decoder, nullptr);
  if (result == PPS_OK) result = pps_decoder_push(&decoder, "a");
  if (result == PPS_OK) result = pps_decoder_push(&decoder, "b");
  allowAllocations(-1);
  pps_decoder_cleanup(&decoder);
  return result;
}

// Lets the first, the second, ... allocation fail until none is left to fail;
// returns how many there were.
int failEveryAllocation(int (*operation)(int)) {
  int allocations = 0;
  int result = operation(allocations);
  while (result != PPS_OK && allocations < 1000) {
    EXPECT_EQ(PPS_NO_MEMORY, result) << "after " << allocations;
    result = operation(++allocations);
  }
  EXPECT_EQ(PPS_OK, result);
  return allocations;
}

TEST(NoMemory, IsReportedByTheEncoderWhereverItStrikes) {
  EXPECT_LT(3, failEveryAllocation(encodeWith));
}

TEST(NoMemory, IsReportedByTheDecoderWhereverItStrikes) {
  EXPECT_LT(3, failEveryAllocation(decodeWith));
}

}  // namespace
