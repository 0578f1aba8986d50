/*
 * QVHTTP12: TLS. Included by qvhttp12.h, which says what holds for every function.
 *
 * A session is secure when its connect says so (an https URL, port 443, or HTTP_OPTION_SECURE).
 * A server whose certificate is refused is connected all the same: the connect returns the session
 * and leaves QV_ERROR_SECURITY_CERTIFICATE in the error slot, and HttpGetSecurityInformation tells
 * why. An application that wants no such server looks at both before it sends anything:
 *
 *   HttpSetLastError(0);
 *   client = HttpConnect(host, HTTP_PORT_SECURE, 0, 0, 0, NULL);
 *   if (client != INVALID_CLIENT && HttpGetLastError() == QV_ERROR_SECURITY_CERTIFICATE) refuse;
 *
 * HttpConnectUrl hands out no such session: it fails with QV_ERROR_SECURITY_CERTIFICATE. And a
 * session whose server was good once is not connected anew (a kept connection that ended, a
 * redirect) to a server that is not.
 *
 * Where certificates and trusted roots come from: docs/certificates.md.
 */
#ifndef QVHTTP12_SECURITY_H
#define QVHTTP12_SECURITY_H

#include "qvhttp12.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Protocol versions, as offered (dwProtocol of the credentials) and as negotiated. */
#define SECURITY_PROTOCOL_SSL2 1u
#define SECURITY_PROTOCOL_SSL3 2u
#define SECURITY_PROTOCOL_TLS10 4u
#define SECURITY_PROTOCOL_TLS11 8u
#define SECURITY_PROTOCOL_TLS12 16u
#define SECURITY_PROTOCOL_TLS13 32u
#define SECURITY_PROTOCOL_DEFAULT (SECURITY_PROTOCOL_TLS12 | SECURITY_PROTOCOL_TLS13)
#define SECURITY_PROTOCOL_UNKNOWN 4096u

/* Where a client certificate lives (dwOptions of the credentials); 0 means the current user. */
#define CREDENTIAL_STORE_CURRENT_USER 1u
#define CREDENTIAL_STORE_LOCAL_MACHINE 2u /* asked before the user's when both are given */
#define CREDENTIAL_STORE_FILE 4u          /* lpszCertStore is a PKCS #12 file */

#define SECURITY_CIPHER_RC2 1u
#define SECURITY_CIPHER_RC4 2u
#define SECURITY_CIPHER_RC5 4u
#define SECURITY_CIPHER_DES 8u
#define SECURITY_CIPHER_3DES 16u
#define SECURITY_CIPHER_DESX 32u
#define SECURITY_CIPHER_AES 64u
#define SECURITY_CIPHER_SKIPJACK 128u
#define SECURITY_CIPHER_UNKNOWN 4096u

#define SECURITY_HASH_MD5 1u
#define SECURITY_HASH_SHA1 2u
#define SECURITY_HASH_SHA256 4u
#define SECURITY_HASH_SHA384 8u
#define SECURITY_HASH_SHA512 16u
#define SECURITY_HASH_UNKNOWN 4096u

#define SECURITY_KEYEX_RSA 1u
#define SECURITY_KEYEX_KEA 2u
#define SECURITY_KEYEX_DH 4u
#define SECURITY_KEYEX_ECDH 8u
#define SECURITY_KEYEX_UNKNOWN 4096u

/* What was found out about the server's certificate. */
#define SECURITY_CERT_VALID 1u         /* or not looked at (HTTP_OPTION_TRUSTEDSITE) */
#define SECURITY_CERT_NAME_MISMATCH 2u /* made for another server */
#define SECURITY_CERT_EXPIRED 3u       /* or not valid yet */
#define SECURITY_CERT_REVOKED 4u
#define SECURITY_CERT_UNTRUSTED 5u /* its root is not trusted here */
#define SECURITY_CERT_INVALID 6u   /* anything else */

/* What was negotiated. Strengths are in bits, times in UTC; all zero for a plain session. */
typedef struct _SECURITYINFOA {
  DWORD dwSize;     /* set by the caller: sizeof(SECURITYINFO) at least */
  DWORD dwProtocol; /* SECURITY_PROTOCOL_* */
  DWORD dwCipher;   /* SECURITY_CIPHER_* */
  DWORD dwCipherStrength;
  DWORD dwHash; /* SECURITY_HASH_* */
  DWORD dwHashStrength;
  DWORD dwKeyExchange; /* SECURITY_KEYEX_* */
  DWORD dwCertStatus;  /* SECURITY_CERT_* */
  SYSTEMTIME stCertIssued;
  SYSTEMTIME stCertExpires;
  LPCSTR lpszCertIssuer;
  LPCSTR lpszCertSubject;
  LPCSTR lpszFingerprint; /* NULL */
} SECURITYINFOA, *LPSECURITYINFOA;

typedef struct _SECURITYINFOW {
  DWORD dwSize;
  DWORD dwProtocol;
  DWORD dwCipher;
  DWORD dwCipherStrength;
  DWORD dwHash;
  DWORD dwHashStrength;
  DWORD dwKeyExchange;
  DWORD dwCertStatus;
  SYSTEMTIME stCertIssued;
  SYSTEMTIME stCertExpires;
  LPCWSTR lpszCertIssuer;
  LPCWSTR lpszCertSubject;
  LPCWSTR lpszFingerprint;
} SECURITYINFOW, *LPSECURITYINFOW;

/*
 * Builds a record of credentials for a connect. Texts are copied and may be NULL; the server name
 * (lpszHostName) and the key file stay NULL.
 *
 *   dwProtocol      SECURITY_PROTOCOL_* bits that may be offered; 0 = TLS 1.2 and 1.3. Older
 *                   versions are offered with HTTP_OPTION_SECURE_FALLBACK only
 *   lpszPassword    of a PKCS #12 file
 *   lpszCertStore   "MY" (also when it is NULL) or another system store, "HKLM:name" and
 *                   "HKCU:name" for that of the machine or of the user; or a PKCS #12 file
 *   lpszCertName    friendly name of the client certificate, or a part of its subject; NULL: none
 *   lppCredentials  receives the record, which the caller frees: HttpDeleteSecurityCredentials. A
 *                   record that is there already is freed, so it is NULL before the first call
 *
 * Nonzero on success; 0: QV_ERROR_INVALID_PARAMETER, QV_ERROR_OUT_OF_MEMORY.
 */
HTTPAPI BOOL WINAPI HttpCreateSecurityCredentialsA(
    DWORD dwProtocol, DWORD dwOptions, LPCSTR lpszUserName, LPCSTR lpszPassword,
    LPCSTR lpszCertStore, LPCSTR lpszCertName, LPVOID lpvReserved,
    LPSECURITYCREDENTIALSA* lppCredentials) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpCreateSecurityCredentialsW(
    DWORD dwProtocol, DWORD dwOptions, LPCWSTR lpszUserName, LPCWSTR lpszPassword,
    LPCWSTR lpszCertStore, LPCWSTR lpszCertName, LPVOID lpvReserved,
    LPSECURITYCREDENTIALSW* lppCredentials) QV_NOEXCEPT;

/* Frees a record that HttpCreateSecurityCredentials made and sets the pointer to NULL. */
HTTPAPI void WINAPI HttpDeleteSecurityCredentialsA(LPSECURITYCREDENTIALSA* lppCredentials)
    QV_NOEXCEPT;
HTTPAPI void WINAPI HttpDeleteSecurityCredentialsW(LPSECURITYCREDENTIALSW* lppCredentials)
    QV_NOEXCEPT;

/*
 * Tells what was negotiated with the server. The texts belong to the session: they are good until
 * the next call for it, or its end. Nonzero on success; 0: QV_ERROR_INVALID_PARAMETER (dwSize),
 * QV_ERROR_SECURITY_NOT_INITIALIZED, QV_ERROR_SECURITY_CONTEXT.
 */
HTTPAPI BOOL WINAPI HttpGetSecurityInformationA(HCLIENT hClient,
                                                LPSECURITYINFOA lpSecurityInfo) QV_NOEXCEPT;
HTTPAPI BOOL WINAPI HttpGetSecurityInformationW(HCLIENT hClient,
                                                LPSECURITYINFOW lpSecurityInfo) QV_NOEXCEPT;

#ifdef UNICODE
#define SECURITYINFO SECURITYINFOW
#define LPSECURITYINFO LPSECURITYINFOW
#define HttpCreateSecurityCredentials HttpCreateSecurityCredentialsW
#define HttpDeleteSecurityCredentials HttpDeleteSecurityCredentialsW
#define HttpGetSecurityInformation HttpGetSecurityInformationW
#else
#define SECURITYINFO SECURITYINFOA
#define LPSECURITYINFO LPSECURITYINFOA
#define HttpCreateSecurityCredentials HttpCreateSecurityCredentialsA
#define HttpDeleteSecurityCredentials HttpDeleteSecurityCredentialsA
#define HttpGetSecurityInformation HttpGetSecurityInformationA
#endif

#ifdef __cplusplus
}
#endif

#endif /* QVHTTP12_SECURITY_H */
