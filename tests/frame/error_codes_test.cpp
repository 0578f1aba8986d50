#include <gtest/gtest.h>

#include "qvhttp12.h"

namespace {

// A socket error n is reported as 0x80040000 + n, so these two have to share the number.
TEST(ErrorCodes, FollowTheNumbersOfTheSocketInterface) {
  EXPECT_EQ(QV_ERROR_OPERATION_TIMEOUT, 0x80040000u + 10060);
  EXPECT_EQ(QV_ERROR_CONNECTION_REFUSED, 0x80040000u + 10061);
  EXPECT_EQ(QV_ERROR_INVALID_HOSTNAME, 0x80040000u + 11001);
}

}  // namespace
