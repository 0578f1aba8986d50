// How much longer than the data a message is.
#include <openssl/objects.h>
#include <openssl/ssl.h>

#include "security/record.h"
#include "security/tls_context.h"

namespace platform::security {
namespace {

constexpr ULONG kTag = 16;           // of the ciphers that authenticate by themselves
constexpr ULONG kExplicitNonce = 8;  // RFC 5288 section 3
constexpr ULONG kInnerType = 1;      // RFC 8446 section 5.2
constexpr ULONG kCbcBlock = 16;
constexpr ULONG kMaxMac = 48;
constexpr ULONG kHeader = kRecordHeader;
constexpr ULONG kBuffers = 4;
constexpr ULONG kStreamCipherBlock = 1;

SecPkgContext_StreamSizes Sizes(ULONG header, ULONG trailer, ULONG block) {
  return {header, trailer + ULONG{kOwedToPeer}, kMaxPlaintext, kBuffers, block};
}

}  // namespace

SecPkgContext_StreamSizes TlsContext::StreamSizes() const {
  const SSL_CIPHER* const cipher = SSL_get_current_cipher(ssl());
  const int version = SSL_version(ssl());
  if (version >= TLS1_3_VERSION) {
    return Sizes(kHeader, kInnerType + kTag, kStreamCipherBlock);
  }
  if (cipher != nullptr && SSL_CIPHER_is_aead(cipher) == 1) {
    const bool implicit = SSL_CIPHER_get_cipher_nid(cipher) == NID_chacha20_poly1305;
    return Sizes(kHeader + (implicit ? 0 : kExplicitNonce), kTag, kStreamCipherBlock);
  }
  constexpr ULONG kMacAndPadding = kMaxMac + kCbcBlock;
  if (version >= TLS1_1_VERSION) return Sizes(kHeader + kCbcBlock, kMacAndPadding, kCbcBlock);
  // An empty record comes first, which keeps the next one's vector from being known beforehand.
  return Sizes(kHeader, kMacAndPadding + kHeader + kMacAndPadding, kCbcBlock);
}

}  // namespace platform::security
