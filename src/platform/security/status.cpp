#include "security/status.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

namespace platform::security {
namespace {

constexpr SECURITY_STATUS kCertificateRevoked = SecurityFailure(0x80092010);  // CRYPT_E_REVOKED

// The peer's reason to end the session.
SECURITY_STATUS StatusOfAlert(int alert) noexcept {
  switch (alert) {
    case SSL_AD_PROTOCOL_VERSION:
      return SEC_E_UNSUPPORTED_FUNCTION;
    case SSL_AD_BAD_RECORD_MAC:
    case SSL_AD_DECRYPTION_FAILED:
      return SEC_E_MESSAGE_ALTERED;
    case SSL_AD_DECRYPT_ERROR:
      return SEC_E_DECRYPT_FAILURE;
    case SSL_AD_BAD_CERTIFICATE:
    case SSL_AD_UNSUPPORTED_CERTIFICATE:
    case SSL_AD_CERTIFICATE_UNKNOWN:
    case SSL_AD_ACCESS_DENIED:
      return SEC_E_CERT_UNKNOWN;
    case SSL_AD_CERTIFICATE_EXPIRED:
      return SEC_E_CERT_EXPIRED;
    case SSL_AD_CERTIFICATE_REVOKED:
      return kCertificateRevoked;
    case SSL_AD_UNKNOWN_CA:
      return SEC_E_UNTRUSTED_ROOT;
    case SSL_AD_NO_CERTIFICATE:
    case SSL_AD_CERTIFICATE_REQUIRED:
      return SEC_E_NO_CREDENTIALS;
    case SSL_AD_INSUFFICIENT_SECURITY:
      return SEC_E_ALGORITHM_MISMATCH;
    case SSL_AD_UNRECOGNIZED_NAME:
      return SEC_E_WRONG_PRINCIPAL;
    case SSL_AD_INTERNAL_ERROR:
      return SEC_E_INTERNAL_ERROR;
    default:
      return SEC_E_ILLEGAL_MESSAGE;
  }
}

SECURITY_STATUS StatusOfReason(int reason) noexcept {
  if (reason > SSL_AD_REASON_OFFSET) return StatusOfAlert(reason - SSL_AD_REASON_OFFSET);
  switch (reason) {
    case SSL_R_UNSUPPORTED_PROTOCOL:
    case SSL_R_NO_PROTOCOLS_AVAILABLE:
    case SSL_R_VERSION_TOO_LOW:
    case SSL_R_VERSION_TOO_HIGH:
    case SSL_R_WRONG_SSL_VERSION:
    case SSL_R_BAD_PROTOCOL_VERSION_NUMBER:
      return SEC_E_UNSUPPORTED_FUNCTION;
    case SSL_R_WRONG_VERSION_NUMBER:
    case SSL_R_PACKET_LENGTH_TOO_LONG:
    case SSL_R_ENCRYPTED_LENGTH_TOO_LONG:
    case SSL_R_DATA_LENGTH_TOO_LONG:
    case SSL_R_LENGTH_MISMATCH:
    case SSL_R_LENGTH_TOO_SHORT:
    case SSL_R_BAD_RECORD_TYPE:
      return SEC_E_INVALID_TOKEN;
    case SSL_R_DECRYPTION_FAILED_OR_BAD_RECORD_MAC:
    case SSL_R_BLOCK_CIPHER_PAD_IS_WRONG:
      return SEC_E_MESSAGE_ALTERED;
    case SSL_R_DECRYPTION_FAILED:
      return SEC_E_DECRYPT_FAILURE;
    case SSL_R_WRONG_CIPHER_RETURNED:
    case SSL_R_UNKNOWN_CIPHER_RETURNED:
    case SSL_R_NO_CIPHERS_AVAILABLE:
    case SSL_R_NO_SUITABLE_KEY_SHARE:
    case SSL_R_DH_KEY_TOO_SMALL:
    case SSL_R_WRONG_SIGNATURE_TYPE:
      return SEC_E_ALGORITHM_MISMATCH;
    case SSL_R_CERT_CB_ERROR:  // the client's certificate cannot be used
    case SSL_R_EE_KEY_TOO_SMALL:
    case SSL_R_CA_KEY_TOO_SMALL:
    case SSL_R_CA_MD_TOO_WEAK:
      return SEC_E_UNKNOWN_CREDENTIALS;
    default:
      return SEC_E_ILLEGAL_MESSAGE;
  }
}

}  // namespace

SECURITY_STATUS TakeFailure() noexcept {
  SECURITY_STATUS status = SEC_E_INTERNAL_ERROR;
  // The first error of the protocol tells most; those of the algorithms below come with it.
  while (const unsigned long error = ERR_get_error()) {
    if (ERR_GET_REASON(error) == ERR_R_MALLOC_FAILURE) {
      status = SEC_E_INSUFFICIENT_MEMORY;
    } else if (status == SEC_E_INTERNAL_ERROR && ERR_GET_LIB(error) == ERR_LIB_SSL) {
      status = StatusOfReason(ERR_GET_REASON(error));
    }
  }
  return status;
}

}  // namespace platform::security
