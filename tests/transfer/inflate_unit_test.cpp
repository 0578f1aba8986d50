// How far a body may grow while it is decoded.
#include <gtest/gtest.h>
#include <zlib.h>

#include <string>

#include "transfer/inflate_block.h"

namespace qv {
namespace {

std::string Deflated(const std::string& content) {
  uLongf size = compressBound(static_cast<uLong>(content.size()));
  std::string out(size, '\0');
  EXPECT_EQ(
      compress(reinterpret_cast<Bytef*>(out.data()), &size,
               reinterpret_cast<const Bytef*>(content.data()), static_cast<uLong>(content.size())),
      Z_OK);
  out.resize(size);
  return out;
}

TEST(InflateTest, OnlyBombsAreRefused) {
  constexpr std::size_t kSize = 1000000;
  const std::string zeros = Deflated(std::string(kSize, '\0'));
  ASSERT_LT(zeros.size() * 100, kSize);
  struct Case {
    uint64_t suspicious_size;
    bool decoded;
  };
  for (const Case& c : {Case{kSize, true}, Case{kSize - 1, false}, Case{1, false}}) {
    SCOPED_TRACE(c.suspicious_size);
    const Result<MemoryBody> body = InflateBlock(zeros, c.suspicious_size);
    EXPECT_EQ(body.ok(), c.decoded);
    if (!c.decoded) {
      EXPECT_TRUE(body.error() == Error(QV_ERROR_OUT_OF_MEMORY));
    }
  }
  // Much that came as much is no bomb, however large it is.
  std::string noise(kSize, '\0');
  uint32_t state = 1;
  for (char& c : noise) c = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
  const Result<MemoryBody> body = InflateBlock(Deflated(noise), 1);
  ASSERT_TRUE(body.ok());
  EXPECT_EQ(body->length, kSize);
}

}  // namespace
}  // namespace qv
