// security: the security support provider interface with one package, TLS for clients. The function
// table is found by name (LoadLibraryA "SECURITY.DLL", GetProcAddress "InitSecurityInterfaceA").
//
// A credential and a context may be used by one thread at a time; different ones by any threads.
#ifndef PLATFORM_SECURITY_H_
#define PLATFORM_SECURITY_H_

#include "platform/crypt32.h"
#include "qvplatform.h"

typedef LONG SECURITY_STATUS;

// ---- Results -----------------------------------------------------------------------------------
// Negative values are failures.
inline constexpr SECURITY_STATUS SEC_E_OK = 0;
inline constexpr SECURITY_STATUS SEC_I_CONTINUE_NEEDED = 0x00090312;
inline constexpr SECURITY_STATUS SEC_I_CONTEXT_EXPIRED = 0x00090317;  // the peer's close-notify
inline constexpr SECURITY_STATUS SEC_I_INCOMPLETE_CREDENTIALS = 0x00090320;
inline constexpr SECURITY_STATUS SEC_I_RENEGOTIATE = 0x00090321;

inline constexpr SECURITY_STATUS SecurityFailure(DWORD code) noexcept {
  return static_cast<SECURITY_STATUS>(code);
}
inline constexpr SECURITY_STATUS SEC_E_INSUFFICIENT_MEMORY = SecurityFailure(0x80090300);
inline constexpr SECURITY_STATUS SEC_E_INVALID_HANDLE = SecurityFailure(0x80090301);
// No protocol version that both sides allow.
inline constexpr SECURITY_STATUS SEC_E_UNSUPPORTED_FUNCTION = SecurityFailure(0x80090302);
inline constexpr SECURITY_STATUS SEC_E_INTERNAL_ERROR = SecurityFailure(0x80090304);
inline constexpr SECURITY_STATUS SEC_E_SECPKG_NOT_FOUND = SecurityFailure(0x80090305);
inline constexpr SECURITY_STATUS SEC_E_INVALID_TOKEN = SecurityFailure(0x80090308);
inline constexpr SECURITY_STATUS SEC_E_UNKNOWN_CREDENTIALS = SecurityFailure(0x8009030D);
// The certificate has no private key, or the server wants a certificate and got none.
inline constexpr SECURITY_STATUS SEC_E_NO_CREDENTIALS = SecurityFailure(0x8009030E);
inline constexpr SECURITY_STATUS SEC_E_MESSAGE_ALTERED = SecurityFailure(0x8009030F);
inline constexpr SECURITY_STATUS SEC_E_CONTEXT_EXPIRED = SecurityFailure(0x80090317);
inline constexpr SECURITY_STATUS SEC_E_INCOMPLETE_MESSAGE = SecurityFailure(0x80090318);
inline constexpr SECURITY_STATUS SEC_E_BUFFER_TOO_SMALL = SecurityFailure(0x80090321);
inline constexpr SECURITY_STATUS SEC_E_WRONG_PRINCIPAL = SecurityFailure(0x80090322);
inline constexpr SECURITY_STATUS SEC_E_UNTRUSTED_ROOT = SecurityFailure(0x80090325);
inline constexpr SECURITY_STATUS SEC_E_ILLEGAL_MESSAGE = SecurityFailure(0x80090326);
inline constexpr SECURITY_STATUS SEC_E_CERT_UNKNOWN = SecurityFailure(0x80090327);
inline constexpr SECURITY_STATUS SEC_E_CERT_EXPIRED = SecurityFailure(0x80090328);
inline constexpr SECURITY_STATUS SEC_E_ENCRYPT_FAILURE = SecurityFailure(0x80090329);
inline constexpr SECURITY_STATUS SEC_E_DECRYPT_FAILURE = SecurityFailure(0x80090330);
inline constexpr SECURITY_STATUS SEC_E_ALGORITHM_MISMATCH = SecurityFailure(0x80090331);
inline constexpr SECURITY_STATUS SEC_E_INVALID_PARAMETER = SecurityFailure(0x8009035D);

// ---- Handles and buffers -----------------------------------------------------------------------
// Both words are 0 in no valid handle.
struct SecHandle {
  ULONG_PTR dwLower;
  ULONG_PTR dwUpper;
};
typedef SecHandle CredHandle;
typedef SecHandle CtxtHandle;
typedef SecHandle* PCredHandle;
typedef SecHandle* PCtxtHandle;

inline constexpr ULONG SECBUFFER_VERSION = 0;
inline constexpr ULONG SECBUFFER_EMPTY = 0;
inline constexpr ULONG SECBUFFER_DATA = 1;
inline constexpr ULONG SECBUFFER_TOKEN = 2;
inline constexpr ULONG SECBUFFER_MISSING = 4;  // cbBuffer more bytes are needed, at least
inline constexpr ULONG SECBUFFER_EXTRA = 5;    // the last cbBuffer bytes of the input are unused
inline constexpr ULONG SECBUFFER_STREAM_TRAILER = 6;
inline constexpr ULONG SECBUFFER_STREAM_HEADER = 7;

struct SecBuffer {
  ULONG cbBuffer;
  ULONG BufferType;
  LPVOID pvBuffer;
};
typedef SecBuffer* PSecBuffer;

struct SecBufferDesc {
  ULONG ulVersion;  // SECBUFFER_VERSION
  ULONG cBuffers;
  PSecBuffer pBuffers;
};
typedef SecBufferDesc* PSecBufferDesc;

// A time stamp of credentials; always 0 here.
struct SECURITY_INTEGER {
  ULONG LowPart;
  LONG HighPart;
};
typedef SECURITY_INTEGER TimeStamp;
typedef TimeStamp* PTimeStamp;

// ---- Credentials -------------------------------------------------------------------------------
#define UNISP_NAME_A "Microsoft Unified Security Protocol Provider"
inline constexpr ULONG SECPKG_CRED_OUTBOUND = 2;

inline constexpr DWORD SP_PROT_SSL2_CLIENT = 0x8;
inline constexpr DWORD SP_PROT_SSL3_CLIENT = 0x20;
inline constexpr DWORD SP_PROT_TLS1_CLIENT = 0x80;
inline constexpr DWORD SP_PROT_TLS1_1_CLIENT = 0x200;
inline constexpr DWORD SP_PROT_TLS1_2_CLIENT = 0x800;
inline constexpr DWORD SP_PROT_TLS1_3_CLIENT = 0x2000;

// The provider never validates the server's certificate by itself, so this flag is required.
inline constexpr DWORD SCH_CRED_MANUAL_CRED_VALIDATION = 0x8;
inline constexpr DWORD SCH_CRED_NO_DEFAULT_CREDS = 0x10;
inline constexpr DWORD SCH_USE_STRONG_CRYPTO = 0x400000;

typedef UINT ALG_ID;

inline constexpr DWORD SCHANNEL_CRED_VERSION = 4;
struct SCHANNEL_CRED {  // 80 bytes
  DWORD dwVersion;
  DWORD cCreds;  // 0 or 1
  PCCERT_CONTEXT* paCred;
  HCERTSTORE hRootStore;
  DWORD cMappers;
  LPVOID aphMappers;
  DWORD cSupportedAlgs;
  ALG_ID* palgSupportedAlgs;
  // SP_PROT_* bits; the lowest and the highest count. 0: TLS 1.2 and 1.3. With TLS 1.0 or 1.1 the
  // minimum strength of keys and hashes is lowered to what these versions need.
  DWORD grbitEnabledProtocols;
  DWORD dwMinimumCipherStrength;
  DWORD dwMaximumCipherStrength;
  DWORD dwSessionLifespan;
  DWORD dwFlags;  // SCH_* bits
  DWORD dwCredFormat;
};

// Of these parameters only the disabled protocols count.
struct TLS_PARAMETERS {
  DWORD cAlpnIds;
  LPVOID rgstrAlpnIds;
  DWORD grbitDisabledProtocols;  // SP_PROT_* bits
  DWORD cDisabledCrypto;
  LPVOID pDisabledCrypto;
  DWORD dwFlags;
};

inline constexpr DWORD SCH_CREDENTIALS_VERSION = 5;
struct SCH_CREDENTIALS {  // 72 bytes
  DWORD dwVersion;
  DWORD dwCredFormat;
  DWORD cCreds;  // 0 or 1
  PCCERT_CONTEXT* paCred;
  HCERTSTORE hRootStore;
  DWORD cMappers;
  LPVOID aphMappers;
  DWORD dwSessionLifespan;
  DWORD dwFlags;         // SCH_* bits
  DWORD cTlsParameters;  // 0 (TLS 1.2 and 1.3) or 1
  TLS_PARAMETERS* pTlsParameters;
};

typedef void(WINAPI* SEC_GET_KEY_FN)(LPVOID argument, LPVOID principal, ULONG key_version,
                                     LPVOID* key, SECURITY_STATUS* status);
typedef SECURITY_STATUS(WINAPI* ACQUIRE_CREDENTIALS_HANDLE_FN_A)(
    LPSTR principal, LPSTR package, ULONG use, LPVOID logon_id, LPVOID credentials,
    SEC_GET_KEY_FN get_key, LPVOID get_key_argument, PCredHandle credential, PTimeStamp expiry);
// Contexts that use the credential go on.
typedef SECURITY_STATUS(WINAPI* FREE_CREDENTIALS_HANDLE_FN)(PCredHandle credential);

// This layer's own: a DWORD, the port of the server that contexts made from now on lead to, so that
// they resume no session with a neighbour of the same name. 0 when it was never set.
inline constexpr ULONG SECPKG_CRED_ATTR_SERVER_PORT = 0x51560001;
typedef SECURITY_STATUS(WINAPI* SET_CREDENTIALS_ATTRIBUTES_FN_A)(PCredHandle credential,
                                                                 ULONG attribute, LPVOID buffer,
                                                                 ULONG size);

// ---- Contexts ----------------------------------------------------------------------------------
inline constexpr ULONG ISC_REQ_REPLAY_DETECT = 0x4;
inline constexpr ULONG ISC_REQ_SEQUENCE_DETECT = 0x8;
inline constexpr ULONG ISC_REQ_CONFIDENTIALITY = 0x10;
inline constexpr ULONG ISC_REQ_ALLOCATE_MEMORY = 0x100;  // required
inline constexpr ULONG ISC_REQ_EXTENDED_ERROR = 0x4000;
inline constexpr ULONG ISC_REQ_STREAM = 0x8000;
inline constexpr ULONG ISC_RET_EXTENDED_ERROR = 0x4000;  // the token of a failure is an alert
inline constexpr ULONG SECURITY_NATIVE_DREP = 16;

// One step of the handshake. The first call has no context and no input and makes the context; the
// others have the context and the peer's bytes in a SECBUFFER_TOKEN, and a SECBUFFER_EMPTY.
//
//   SEC_I_CONTINUE_NEEDED         send the token if there is one, come back with what the peer
//                                 sends
//   SEC_E_OK                      the same, and the handshake is complete
//   SEC_E_INCOMPLETE_MESSAGE      nothing was used: come back with the same bytes and more; the
//                                 second buffer is SECBUFFER_MISSING. An empty input counts as one.
//   SEC_I_INCOMPLETE_CREDENTIALS  the server asks for a certificate and the credential has none:
//                                 come back with the same input and with a credential that has one,
//                                 or with the same credential to go on without
//   failure                       the token, when ISC_RET_EXTENDED_ERROR is among the
//                                 attributes, is the alert for the peer
//
// With SEC_E_OK and SEC_I_CONTINUE_NEEDED the second input buffer becomes SECBUFFER_EXTRA when the
// last bytes of the input were not used: they belong to the next call or, after the handshake, to
// DecryptMessage. Tokens are given back with FreeContextBuffer.
//
// The target is the server's name: it is sent to the server unless it is an IP address, and
// sessions with the same target, port, protocols and client certificate are resumed. A context
// whose shutdown was asked for with ApplyControlToken gives its close-notify as token with
// SEC_E_OK.
typedef SECURITY_STATUS(WINAPI* INITIALIZE_SECURITY_CONTEXT_FN_A)(
    PCredHandle credential, PCtxtHandle context, LPSTR target, ULONG requirements, ULONG reserved1,
    ULONG data_representation, PSecBufferDesc input, ULONG reserved2, PCtxtHandle new_context,
    PSecBufferDesc output, ULONG* attributes, PTimeStamp expiry);

inline constexpr DWORD SCHANNEL_SHUTDOWN = 1;
// One SECBUFFER_TOKEN with the 32-bit value SCHANNEL_SHUTDOWN.
typedef SECURITY_STATUS(WINAPI* APPLY_CONTROL_TOKEN_FN)(PCtxtHandle context, PSecBufferDesc input);
typedef SECURITY_STATUS(WINAPI* DELETE_SECURITY_CONTEXT_FN)(PCtxtHandle context);
// Gives back tokens and issuer lists. NULL is allowed.
typedef SECURITY_STATUS(WINAPI* FREE_CONTEXT_BUFFER_FN)(LPVOID buffer);

// ---- Messages ----------------------------------------------------------------------------------
// Encrypts at most cbMaximumMessage bytes in place, as one record. The buffers are, in this order,
// SECBUFFER_STREAM_HEADER (cbHeader bytes), SECBUFFER_DATA, SECBUFFER_STREAM_TRAILER (cbTrailer
// bytes) and SECBUFFER_EMPTY; the three lie one behind the other, and their cbBuffer become the
// lengths to send. What the protocol owes the peer (the answer to a key update) goes in front of
// the record; the sizes allow for it.
//
//   SEC_E_INCOMPLETE_MESSAGE  nothing was done: the last record that was decrypted ended inside a
//                             message of the protocol's own, the rest of which has to be
//                             decrypted first
typedef SECURITY_STATUS(WINAPI* ENCRYPT_MESSAGE_FN)(PCtxtHandle context, ULONG quality,
                                                    PSecBufferDesc message, ULONG sequence);

// Decrypts the first record of buffer 0 (SECBUFFER_DATA) in place; three SECBUFFER_EMPTY follow.
//
//   SEC_E_OK                  the buffers are header, data, trailer and, when more follows, extra;
//                             the data may be empty, as the record may be one of the protocol's own
//   SEC_E_INCOMPLETE_MESSAGE  nothing was used; buffer 0 becomes SECBUFFER_MISSING
//   SEC_I_CONTEXT_EXPIRED     the peer has closed the session
//   SEC_I_RENEGOTIATE         as SEC_E_OK, and the server asks for another handshake: go on with
//                             InitializeSecurityContext and the extra bytes, which may be none
typedef SECURITY_STATUS(WINAPI* DECRYPT_MESSAGE_FN)(PCtxtHandle context, PSecBufferDesc message,
                                                    ULONG sequence, ULONG* quality);

// ---- Attributes --------------------------------------------------------------------------------
inline constexpr ULONG SECPKG_ATTR_STREAM_SIZES = 4;
struct SecPkgContext_StreamSizes {
  ULONG cbHeader;
  ULONG cbTrailer;
  ULONG cbMaximumMessage;
  ULONG cBuffers;
  ULONG cbBlockSize;
};

// A PCCERT_CONTEXT, which the caller frees. Its store holds all certificates that the server sent.
inline constexpr ULONG SECPKG_ATTR_REMOTE_CERT_CONTEXT = 83;

// Names of the issuers that the server accepts; the caller frees aIssuers with FreeContextBuffer.
inline constexpr ULONG SECPKG_ATTR_ISSUER_LIST_EX = 89;
struct SecPkgContext_IssuerListInfoEx {
  PCERT_NAME_BLOB aIssuers;
  DWORD cIssuers;
};

inline constexpr ALG_ID CALG_DES = 0x6601;
inline constexpr ALG_ID CALG_3DES = 0x6603;
inline constexpr ALG_ID CALG_AES_128 = 0x660E;
inline constexpr ALG_ID CALG_AES_256 = 0x6610;
inline constexpr ALG_ID CALG_RC4 = 0x6801;
inline constexpr ALG_ID CALG_MD5 = 0x8003;
inline constexpr ALG_ID CALG_SHA1 = 0x8004;
inline constexpr ALG_ID CALG_SHA_256 = 0x800C;
inline constexpr ALG_ID CALG_SHA_384 = 0x800D;
inline constexpr ALG_ID CALG_RSA_KEYX = 0xA400;
inline constexpr ALG_ID CALG_DH_EPHEM = 0xAA02;
inline constexpr ALG_ID CALG_ECDH_EPHEM = 0xAE06;

// Algorithms without an identifier (the ChaCha20 cipher) are 0. The hash of a cipher that
// authenticates by itself is the one that keys are derived with.
inline constexpr ULONG SECPKG_ATTR_CONNECTION_INFO = 90;
struct SecPkgContext_ConnectionInfo {
  DWORD dwProtocol;  // one SP_PROT_*_CLIENT bit
  ALG_ID aiCipher;
  DWORD dwCipherStrength;  // bits, as all strengths
  ALG_ID aiHash;
  DWORD dwHashStrength;
  ALG_ID aiExch;
  DWORD dwExchStrength;
};

typedef SECURITY_STATUS(WINAPI* QUERY_CONTEXT_ATTRIBUTES_FN_A)(PCtxtHandle context, ULONG attribute,
                                                               LPVOID buffer);

// ---- Function table ----------------------------------------------------------------------------
inline constexpr DWORD SECURITY_SUPPORT_PROVIDER_INTERFACE_VERSION = 1;

// Entries that are not listed here by a type of their own are NULL.
struct SecurityFunctionTableA {  // 240 bytes
  DWORD dwVersion;
  LPVOID EnumerateSecurityPackagesA;
  LPVOID QueryCredentialsAttributesA;
  ACQUIRE_CREDENTIALS_HANDLE_FN_A AcquireCredentialsHandleA;
  FREE_CREDENTIALS_HANDLE_FN FreeCredentialsHandle;
  LPVOID Reserved2;
  INITIALIZE_SECURITY_CONTEXT_FN_A InitializeSecurityContextA;
  LPVOID AcceptSecurityContext;
  LPVOID CompleteAuthToken;
  DELETE_SECURITY_CONTEXT_FN DeleteSecurityContext;
  APPLY_CONTROL_TOKEN_FN ApplyControlToken;
  QUERY_CONTEXT_ATTRIBUTES_FN_A QueryContextAttributesA;
  LPVOID ImpersonateSecurityContext;
  LPVOID RevertSecurityContext;
  LPVOID MakeSignature;
  LPVOID VerifySignature;
  FREE_CONTEXT_BUFFER_FN FreeContextBuffer;
  LPVOID QuerySecurityPackageInfoA;
  LPVOID Reserved3;
  LPVOID Reserved4;
  LPVOID ExportSecurityContext;
  LPVOID ImportSecurityContextA;
  LPVOID AddCredentialsA;
  LPVOID Reserved8;
  LPVOID QuerySecurityContextToken;
  ENCRYPT_MESSAGE_FN EncryptMessage;
  DECRYPT_MESSAGE_FN DecryptMessage;
  LPVOID SetContextAttributesA;
  SET_CREDENTIALS_ATTRIBUTES_FN_A SetCredentialsAttributesA;
  LPVOID ChangeAccountPasswordA;
};
typedef SecurityFunctionTableA* PSecurityFunctionTableA;

// The table lives as long as the process.
typedef PSecurityFunctionTableA(WINAPI* INIT_SECURITY_INTERFACE_A)(void);

#endif  // PLATFORM_SECURITY_H_
