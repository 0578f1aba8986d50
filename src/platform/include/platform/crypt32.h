// crypt32: certificate stores, PKCS #12, certificate names, chains and their validation. The
// functions are found by name (LoadLibraryA "CRYPT32.DLL", GetProcAddress); the types below are
// those of the entry points.
//
// Where certificates and trusted roots come from is described in docs/certificates.md.
#ifndef PLATFORM_CRYPT32_H_
#define PLATFORM_CRYPT32_H_

#include "platform/file_time.h"
#include "qvplatform.h"

typedef uintptr_t ULONG_PTR;

// ---- Results -----------------------------------------------------------------------------------
// What GetLastError and the status of a policy check give.
inline constexpr DWORD CRYPT_E_NOT_FOUND = 0x80092004;
inline constexpr DWORD CRYPT_E_BAD_ENCODE = 0x80092002;
inline constexpr DWORD TRUST_E_CERT_SIGNATURE = 0x80096004;
inline constexpr DWORD TRUST_E_BASIC_CONSTRAINTS = 0x80096019;
inline constexpr DWORD TRUST_E_EXPLICIT_DISTRUST = 0x800B0111;
inline constexpr DWORD CERT_E_EXPIRED = 0x800B0101;  // not yet valid, too
inline constexpr DWORD CERT_E_MALFORMED = 0x800B0108;
inline constexpr DWORD CERT_E_UNTRUSTEDROOT = 0x800B0109;
inline constexpr DWORD CERT_E_CHAINING = 0x800B010A;
inline constexpr DWORD CERT_E_REVOKED = 0x800B010C;
inline constexpr DWORD CERT_E_UNTRUSTEDTESTROOT = 0x800B010D;
inline constexpr DWORD CERT_E_CN_NO_MATCH = 0x800B010F;
inline constexpr DWORD CERT_E_WRONG_USAGE = 0x800B0110;
inline constexpr DWORD CERT_E_UNTRUSTEDCA = 0x800B0112;  // its issuer is not known here
inline constexpr DWORD CERT_E_INVALID_NAME = 0x800B0114;

// ---- Certificates ------------------------------------------------------------------------------
inline constexpr DWORD X509_ASN_ENCODING = 0x1;
inline constexpr DWORD PKCS_7_ASN_ENCODING = 0x10000;

struct CRYPT_DATA_BLOB {
  DWORD cbData;
  BYTE* pbData;
};
typedef CRYPT_DATA_BLOB CERT_NAME_BLOB;  // the DER encoding of a distinguished name
typedef CERT_NAME_BLOB* PCERT_NAME_BLOB;
typedef CRYPT_DATA_BLOB CRYPT_INTEGER_BLOB;  // least significant byte first

// The platform's record has more fields; these are the ones that are kept here.
struct CERT_INFO {
  DWORD dwVersion;  // 2 for X.509 version 3
  CRYPT_INTEGER_BLOB SerialNumber;
  CERT_NAME_BLOB Issuer;
  FILETIME NotBefore;
  FILETIME NotAfter;
  CERT_NAME_BLOB Subject;
};
typedef CERT_INFO* PCERT_INFO;

typedef LPVOID HCERTSTORE;

// Given back with CertFreeCertificateContext. hCertStore holds the certificate and what came with
// it (the other certificates of its file, or that a server sent); it lives as long as the context
// and is not closed by its user.
struct CERT_CONTEXT {
  DWORD dwCertEncodingType;
  BYTE* pbCertEncoded;
  DWORD cbCertEncoded;
  PCERT_INFO pCertInfo;
  HCERTSTORE hCertStore;
};
typedef const CERT_CONTEXT* PCCERT_CONTEXT;

// TRUE always; NULL is allowed.
typedef BOOL(WINAPI* CertFreeCertificateContextFn)(PCCERT_CONTEXT context);

// The only property is the friendly name: UTF-16 with its terminator. CRYPT_E_NOT_FOUND when there
// is none; ERROR_MORE_DATA (and the size in *size) when it does not fit; a NULL buffer asks for the
// size.
inline constexpr DWORD CERT_FRIENDLY_NAME_PROP_ID = 11;
typedef BOOL(WINAPI* CertGetCertificateContextPropertyFn)(PCCERT_CONTEXT context, DWORD property,
                                                          LPVOID buffer, LPDWORD size);

// ---- Names as text -----------------------------------------------------------------------------
inline constexpr DWORD CERT_NAME_SIMPLE_DISPLAY_TYPE = 4;  // common name, unit, organization, mail
inline constexpr DWORD CERT_NAME_FRIENDLY_DISPLAY_TYPE = 5;  // friendly name, else as above
inline constexpr DWORD CERT_NAME_ISSUER_FLAG = 0x1;
// Both give the count of characters with the terminator (also for a NULL buffer or no capacity), in
// the ANSI code page. What does not fit is cut. 1 means no text.
typedef DWORD(WINAPI* CertGetNameStringAFn)(PCCERT_CONTEXT context, DWORD type, DWORD flags,
                                            LPVOID type_parameter, LPSTR text, DWORD capacity);

inline constexpr DWORD CERT_SIMPLE_NAME_STR = 1;  // the values only
inline constexpr DWORD CERT_X500_NAME_STR = 3;    // "C=DE, O=\"Smith, Ltd\", CN=host"
inline constexpr DWORD CERT_NAME_STR_NO_PLUS_FLAG = 0x20000000;  // no "+" between values of one RDN
typedef DWORD(WINAPI* CertNameToStrAFn)(DWORD encoding, PCERT_NAME_BLOB name, DWORD type,
                                        LPSTR text, DWORD capacity);

// ---- Stores ------------------------------------------------------------------------------------
// A system store is a folder of files; it is read when it is opened.
#define CERT_STORE_PROV_SYSTEM_W (reinterpret_cast<LPCSTR>(static_cast<UINT_PTR>(10)))
inline constexpr DWORD CERT_STORE_OPEN_EXISTING_FLAG = 0x4000;
inline constexpr DWORD CERT_STORE_READONLY_FLAG = 0x8000;
inline constexpr DWORD CERT_SYSTEM_STORE_CURRENT_USER = 0x10000;
inline constexpr DWORD CERT_SYSTEM_STORE_LOCAL_MACHINE = 0x20000;
// `parameter` is the store's name in UTF-16, compared without case. NULL and ERROR_FILE_NOT_FOUND
// when there is no such store; without CERT_STORE_OPEN_EXISTING_FLAG an empty one then.
typedef HCERTSTORE(WINAPI* CertOpenStoreFn)(LPCSTR provider, DWORD encoding,
                                            ULONG_PTR crypto_provider, DWORD flags,
                                            LPCVOID parameter);
// The current user's store of that name, empty when it does not exist.
typedef HCERTSTORE(WINAPI* CertOpenSystemStoreAFn)(ULONG_PTR crypto_provider, LPCSTR name);
// Contexts taken from the store stay valid. TRUE always; NULL is allowed.
typedef BOOL(WINAPI* CertCloseStoreFn)(HCERTSTORE store, DWORD flags);

// Each gives the next certificate after `previous` (NULL: the first) and frees `previous`; NULL and
// CRYPT_E_NOT_FOUND at the end.
typedef PCCERT_CONTEXT(WINAPI* CertEnumCertificatesInStoreFn)(HCERTSTORE store,
                                                              PCCERT_CONTEXT previous);
// Text is compared without case with any part of the name's values.
inline constexpr DWORD CERT_FIND_ANY = 0;
inline constexpr DWORD CERT_FIND_ISSUER_STR_A = 0x70004;
inline constexpr DWORD CERT_FIND_SUBJECT_STR_A = 0x70007;
typedef PCCERT_CONTEXT(WINAPI* CertFindCertificateInStoreFn)(HCERTSTORE store, DWORD encoding,
                                                             DWORD flags, DWORD type,
                                                             LPCVOID parameter,
                                                             PCCERT_CONTEXT previous);

// Whether the bytes are a PKCS #12 file, whatever its password.
typedef BOOL(WINAPI* PFXIsPFXBlobFn)(CRYPT_DATA_BLOB* file);
// A store with the certificates and the key of a PKCS #12 file; the certificate of the key is the
// first. NULL and ERROR_INVALID_PASSWORD or CRYPT_E_BAD_ENCODE on failure. A NULL password stands
// for none.
inline constexpr DWORD CRYPT_USER_KEYSET = 0x1000;
inline constexpr DWORD ERROR_INVALID_PASSWORD = 86;
typedef HCERTSTORE(WINAPI* PFXImportCertStoreFn)(CRYPT_DATA_BLOB* file, LPCWSTR password,
                                                 DWORD flags);

// ---- Chains ------------------------------------------------------------------------------------
inline constexpr DWORD CERT_TRUST_NO_ERROR = 0;
inline constexpr DWORD CERT_TRUST_IS_NOT_TIME_VALID = 0x1;
inline constexpr DWORD CERT_TRUST_IS_REVOKED = 0x4;
inline constexpr DWORD CERT_TRUST_IS_NOT_SIGNATURE_VALID = 0x8;
inline constexpr DWORD CERT_TRUST_IS_NOT_VALID_FOR_USAGE = 0x10;
inline constexpr DWORD CERT_TRUST_IS_UNTRUSTED_ROOT = 0x20;
inline constexpr DWORD CERT_TRUST_INVALID_EXTENSION = 0x100;
inline constexpr DWORD CERT_TRUST_INVALID_BASIC_CONSTRAINTS = 0x400;
inline constexpr DWORD CERT_TRUST_INVALID_NAME_CONSTRAINTS = 0x800;
inline constexpr DWORD CERT_TRUST_IS_PARTIAL_CHAIN = 0x10000;
inline constexpr DWORD CERT_TRUST_HAS_WEAK_SIGNATURE = 0x100000;
inline constexpr DWORD CERT_TRUST_IS_EXPLICIT_DISTRUST = 0x4000000;

struct CERT_TRUST_STATUS {
  DWORD dwErrorStatus;  // CERT_TRUST_* bits
  DWORD dwInfoStatus;   // 0 always
};

// These three have more fields on the platform.
struct CERT_CHAIN_ELEMENT {
  DWORD cbSize;
  PCCERT_CONTEXT pCertContext;  // lives as long as the chain
  CERT_TRUST_STATUS TrustStatus;
};
typedef CERT_CHAIN_ELEMENT* PCERT_CHAIN_ELEMENT;

struct CERT_SIMPLE_CHAIN {
  DWORD cbSize;
  CERT_TRUST_STATUS TrustStatus;
  DWORD cElement;
  PCERT_CHAIN_ELEMENT* rgpElement;  // the end certificate first
};
typedef CERT_SIMPLE_CHAIN* PCERT_SIMPLE_CHAIN;

struct CERT_CHAIN_CONTEXT {
  DWORD cbSize;
  CERT_TRUST_STATUS TrustStatus;
  DWORD cChain;  // 1 always
  PCERT_SIMPLE_CHAIN* rgpChain;
};
typedef const CERT_CHAIN_CONTEXT* PCCERT_CHAIN_CONTEXT;

struct CERT_ENHKEY_USAGE {
  DWORD cUsageIdentifier;
  LPSTR* rgpszUsageIdentifier;
};
inline constexpr DWORD USAGE_MATCH_TYPE_AND = 0;
struct CERT_USAGE_MATCH {
  DWORD dwType;
  CERT_ENHKEY_USAGE Usage;
};
struct CERT_CHAIN_PARA {  // 32 bytes
  DWORD cbSize;
  CERT_USAGE_MATCH RequestedUsage;  // must name no usage
};

typedef HANDLE HCERTCHAINENGINE;
#define HCCE_CURRENT_USER (static_cast<HCERTCHAINENGINE>(nullptr))

// Builds and checks the chain from a certificate up to a trusted root, with the certificates of
// `additional_store` (may be NULL) as intermediates. NULL stands for the current time. What is
// wrong with the chain is in its status; FALSE means that there is no chain at all.
typedef BOOL(WINAPI* CertGetCertificateChainFn)(HCERTCHAINENGINE engine, PCCERT_CONTEXT certificate,
                                                const FILETIME* time, HCERTSTORE additional_store,
                                                const CERT_CHAIN_PARA* parameters, DWORD flags,
                                                LPVOID reserved, PCCERT_CHAIN_CONTEXT* chain);
// NULL is allowed.
typedef void(WINAPI* CertFreeCertificateChainFn)(PCCERT_CHAIN_CONTEXT chain);

inline constexpr DWORD CERT_CHAIN_FIND_BY_ISSUER = 1;
#define szOID_PKIX_KP_SERVER_AUTH "1.3.6.1.5.5.7.3.1"
#define szOID_PKIX_KP_CLIENT_AUTH "1.3.6.1.5.5.7.3.2"
typedef BOOL(WINAPI* PFN_CERT_CHAIN_FIND_BY_ISSUER_CALLBACK)(PCCERT_CONTEXT certificate,
                                                             LPVOID argument);
struct CERT_CHAIN_FIND_BY_ISSUER_PARA {  // 56 bytes
  DWORD cbSize;
  LPCSTR pszUsageIdentifier;  // an extended key usage that the certificate must allow; may be NULL
  DWORD dwKeySpec;
  DWORD dwAcquirePrivateKeyFlags;
  DWORD cIssuer;  // 0: any issuer
  CERT_NAME_BLOB* rgIssuer;
  PFN_CERT_CHAIN_FIND_BY_ISSUER_CALLBACK pfnFindCallback;  // must be NULL
  LPVOID pvFindArgument;
};
// Certificates with a private key, within their validity, one of whose issuers (direct or further
// up) is among the given. Gives the next chain after `previous` (NULL: the first) and frees
// `previous`; NULL and CRYPT_E_NOT_FOUND at the end.
typedef PCCERT_CHAIN_CONTEXT(WINAPI* CertFindChainInStoreFn)(HCERTSTORE store, DWORD encoding,
                                                             DWORD flags, DWORD type,
                                                             LPCVOID parameters,
                                                             PCCERT_CHAIN_CONTEXT previous);

// ---- Policies ----------------------------------------------------------------------------------
#define CERT_CHAIN_POLICY_BASE (reinterpret_cast<LPCSTR>(static_cast<UINT_PTR>(1)))
#define CERT_CHAIN_POLICY_SSL (reinterpret_cast<LPCSTR>(static_cast<UINT_PTR>(4)))

inline constexpr DWORD AUTHTYPE_CLIENT = 1;
inline constexpr DWORD AUTHTYPE_SERVER = 2;
struct HTTPSPolicyCallbackData {  // 24 bytes
  DWORD cbSize;
  DWORD dwAuthType;
  DWORD fdwChecks;        // must be 0
  LPWSTR pwszServerName;  // a host name or an IP address; NULL: the name is not checked
};
typedef HTTPSPolicyCallbackData SSL_EXTRA_CERT_CHAIN_POLICY_PARA;

struct CERT_CHAIN_POLICY_PARA {  // 16 bytes
  DWORD cbSize;
  DWORD dwFlags;             // must be 0
  LPVOID pvExtraPolicyPara;  // HTTPSPolicyCallbackData for CERT_CHAIN_POLICY_SSL; may be NULL
};
struct CERT_CHAIN_POLICY_STATUS {  // 24 bytes
  DWORD cbSize;
  DWORD dwError;  // 0: the chain is good; else the most serious finding
  LONG lChainIndex;
  LONG lElementIndex;  // -1 when the finding is not about one element
  LPVOID pvExtraPolicyStatus;
};
// FALSE when the policy could not be checked at all.
typedef BOOL(WINAPI* CertVerifyCertificateChainPolicyFn)(LPCSTR policy, PCCERT_CHAIN_CONTEXT chain,
                                                         const CERT_CHAIN_POLICY_PARA* parameters,
                                                         CERT_CHAIN_POLICY_STATUS* status);

#endif  // PLATFORM_CRYPT32_H_
