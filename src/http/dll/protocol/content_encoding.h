// Content codings of responses (RFC 9110 section 8.4).
#ifndef QV_PROTOCOL_CONTENT_ENCODING_H_
#define QV_PROTOCOL_CONTENT_ENCODING_H_

namespace qv {

struct Session;

enum class ContentEncoding {
  kIdentity = 0,  // also for a missing field, an unknown name or a list of codings
  kCompress = 1,
  kDeflate = 2,
  kGzip = 3,
  kZlib = 4,
};

// What requests name as acceptable.
inline constexpr const char* kAcceptedEncodings = "gzip, deflate";

// The coding of the session's response.
ContentEncoding ContentEncodingOf(const Session& session);

}  // namespace qv

#endif  // QV_PROTOCOL_CONTENT_ENCODING_H_
