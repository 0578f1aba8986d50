// The frame of TLS records (RFC 8446 section 5.1, RFC 5246 section 6.2.1).
#ifndef PLATFORM_SECURITY_RECORD_H_
#define PLATFORM_SECURITY_RECORD_H_

#include <algorithm>
#include <cstddef>
#include <span>

#include "qvplatform.h"

namespace platform::security {

inline constexpr std::size_t kRecordHeader = 5;
inline constexpr std::size_t kMaxPlaintext = 16384;

// Room for what may have to go in front of the next message: the answers to key updates (RFC 8446
// section 4.6.3), each of 5 bytes with its header, inner type and tag. One waits when the peer
// changes its keys while nothing is sent to it; more only after terabytes, or from a peer that
// wants to do harm, whose session fails in the end.
inline constexpr std::size_t kOwedToPeer = 16 * (kRecordHeader + 5 + 1 + 16);

enum class Frame {
  kWhole,    // size: of the record
  kPartial,  // size: how many bytes are missing, at least
  kInvalid,  // this cannot be the beginning of a record
};

struct FrameCheck {
  Frame frame;
  std::size_t size;
};

// What stands at the beginning of the bytes.
inline FrameCheck CheckFrame(std::span<const BYTE> bytes) noexcept {
  constexpr BYTE kFirstType = 20;  // change_cipher_spec
  constexpr BYTE kLastType = 24;   // heartbeat
  constexpr BYTE kMajorVersion = 3;
  constexpr std::size_t kMaxExpansion = 2048;
  constexpr unsigned kHighByte = 8;
  const bool valid = (bytes.empty() || (bytes[0] >= kFirstType && bytes[0] <= kLastType)) &&
                     (bytes.size() < 2 || bytes[1] == kMajorVersion);
  if (!valid) return {Frame::kInvalid, 0};
  if (bytes.size() < kRecordHeader) return {Frame::kPartial, kRecordHeader - bytes.size()};
  const std::size_t length = static_cast<std::size_t>(bytes[3]) << kHighByte | bytes[4];
  if (length > kMaxPlaintext + kMaxExpansion) return {Frame::kInvalid, 0};
  const std::size_t whole = kRecordHeader + length;
  if (bytes.size() < whole) return {Frame::kPartial, whole - bytes.size()};
  return {Frame::kWhole, whole};
}

// The whole records at the beginning of the bytes. What is no record counts as one, so that it is
// looked at and refused.
inline std::span<const BYTE> WholeRecords(std::span<const BYTE> bytes) noexcept {
  std::size_t size = 0;
  while (size < bytes.size()) {
    const FrameCheck next = CheckFrame(bytes.subspan(size));
    if (next.frame == Frame::kInvalid) return bytes;
    if (next.frame == Frame::kPartial) break;
    size += next.size;
  }
  return bytes.first(size);
}

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_RECORD_H_
