#include "tls/client_credential.h"

#include "frame/session.h"
#include "tls/certificate_store.h"
#include "tls/security_binding.h"
#include "transport/trace.h"

namespace qv {
namespace {

constexpr DWORD kFlags = SCH_CRED_MANUAL_CRED_VALIDATION | SCH_CRED_NO_DEFAULT_CREDS;

struct ProtocolBit {
  DWORD selected;
  DWORD provider;
};
constexpr ProtocolBit kOldProtocols[] = {
    {SECURITY_PROTOCOL_TLS10, SP_PROT_TLS1_CLIENT},
    {SECURITY_PROTOCOL_TLS11, SP_PROT_TLS1_1_CLIENT},
};

// Without a bit the platform chooses. The old record cannot name TLS 1.3.
DWORD EnabledProtocols(const Session& session) {
  const DWORD selected = session.tls.identity.protocols;
  DWORD enabled = (selected & SECURITY_PROTOCOL_TLS12) != 0 ? SP_PROT_TLS1_2_CLIENT : 0;
  if (!session.Has(HTTP_OPTION_SECURE_FALLBACK)) return enabled;
  for (const ProtocolBit& bit : kOldProtocols) {
    if ((selected & bit.selected) != 0) enabled |= bit.provider;
  }
  constexpr DWORD kAny = SECURITY_PROTOCOL_TLS10 | SECURITY_PROTOCOL_TLS11 |
                         SECURITY_PROTOCOL_TLS12 | SECURITY_PROTOCOL_TLS13;
  if ((selected & kAny) != 0) enabled |= SP_PROT_TLS1_CLIENT;
  return enabled;
}

// An application that selects one of the two current versions gets no other.
DWORD DisabledProtocols(const Session& session) {
  switch (session.tls.identity.protocols & SECURITY_PROTOCOL_DEFAULT) {
    case SECURITY_PROTOCOL_TLS12:
      return SP_PROT_TLS1_3_CLIENT;
    case SECURITY_PROTOCOL_TLS13:
      return SP_PROT_TLS1_2_CLIENT;
    default:
      return 0;
  }
}

SECURITY_STATUS Acquire(LPVOID description, CredHandle* handle) {
  char package[] = UNISP_NAME_A;
  TimeStamp expiry{};
  return SecurityProvider().AcquireCredentialsHandleA(nullptr, package, SECPKG_CRED_OUTBOUND,
                                                      nullptr, description, nullptr, nullptr,
                                                      handle, &expiry);
}

SECURITY_STATUS AcquireNew(const Session& session, PCCERT_CONTEXT* certificate,
                           CredHandle* handle) {
  TLS_PARAMETERS parameters{};
  parameters.grbitDisabledProtocols = DisabledProtocols(session);
  SCH_CREDENTIALS description{};
  description.dwVersion = SCH_CREDENTIALS_VERSION;
  description.cCreds = *certificate != nullptr ? 1 : 0;
  description.paCred = *certificate != nullptr ? certificate : nullptr;
  description.dwFlags = kFlags;
  if (parameters.grbitDisabledProtocols != 0) {
    description.cTlsParameters = 1;
    description.pTlsParameters = &parameters;
  }
  return Acquire(&description, handle);
}

SECURITY_STATUS AcquireOld(const Session& session, PCCERT_CONTEXT* certificate,
                           CredHandle* handle) {
  SCHANNEL_CRED description{};
  description.dwVersion = SCHANNEL_CRED_VERSION;
  description.cCreds = *certificate != nullptr ? 1 : 0;
  description.paCred = *certificate != nullptr ? certificate : nullptr;
  description.grbitEnabledProtocols = EnabledProtocols(session);
  description.dwFlags = kFlags | SCH_USE_STRONG_CRYPTO;
  return Acquire(&description, handle);
}

// Keeps the sessions that can be resumed apart; a provider that cannot does without.
void SetServerPort(const Session& session, CredHandle& handle) {
  DWORD port = session.connection.port;
  const auto set = SecurityProvider().SetCredentialsAttributesA;
  if (set != nullptr) set(&handle, SECPKG_CRED_ATTR_SERVER_PORT, &port, sizeof(port));
}

Result<TlsCredential> AcquireHandle(const Session& session, PCCERT_CONTEXT certificate,
                                    SECURITY_STATUS& status) {
  CredHandle handle{};
  status = SEC_E_UNKNOWN_CREDENTIALS;
  if (KnowsNewCredentials() && !session.Has(HTTP_OPTION_SECURE_FALLBACK)) {
    status = AcquireNew(session, &certificate, &handle);
  }
  if (status != SEC_E_OK) status = AcquireOld(session, &certificate, &handle);
  if (status != SEC_E_OK) return Error(QV_ERROR_SECURITY_CREDENTIALS);
  SetServerPort(session, handle);
  return TlsCredential(handle);
}

}  // namespace

void CertificateDeleter::operator()(const CERT_CONTEXT* certificate) const {
  Certificates().CertFreeCertificateContext(certificate);
}

CertificateStore::~CertificateStore() {
  if (handle_ != nullptr) Certificates().CertCloseStore(handle_, 0);
}

TlsCredential::~TlsCredential() {
  if (handle_.dwLower != 0 || handle_.dwUpper != 0) {
    SecurityProvider().FreeCredentialsHandle(&handle_);
  }
}

Result<ClientCredential> AcquireClientCredential(const Session& session) {
  const TlsIdentity& identity = session.tls.identity;
  ClientCredential credential;
  Certificate certificate;
  if (!identity.certificate_name.empty() && IdentityApplies(session)) {
    Result<CertificateStore> store = OpenCertificateStore(identity);
    if (!store) return store.error();
    credential.store = *std::move(store);
    certificate = FindClientCertificate(credential.store, identity.certificate_name);
    if (!certificate) return Error(QV_ERROR_SECURITY_CREDENTIALS);
  }
  SECURITY_STATUS status = SEC_E_OK;
  Result<TlsCredential> handle = AcquireHandle(session, certificate.get(), status);
  if (!handle) {
    QV_TRACE(kError, "unable to acquire client credentials (0x%08lx)",
             static_cast<unsigned long>(static_cast<DWORD>(status)));
    return handle.error();
  }
  credential.handle = *std::move(handle);
  return credential;
}

Result<TlsCredential> AcquireForIssuers(const Session& session, const CertificateStore& store,
                                        const SecPkgContext_IssuerListInfoEx& issuers) {
  SECURITY_STATUS status = SEC_E_NO_CREDENTIALS;
  if (store) {
    CERT_CHAIN_FIND_BY_ISSUER_PARA wanted{};
    wanted.cbSize = sizeof(wanted);
    wanted.pszUsageIdentifier = szOID_PKIX_KP_CLIENT_AUTH;
    wanted.cIssuer = issuers.cIssuers;
    wanted.rgIssuer = issuers.aIssuers;
    const CertificateApi& api = Certificates();
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    while ((chain = api.CertFindChainInStore(store.get(), X509_ASN_ENCODING, 0,
                                             CERT_CHAIN_FIND_BY_ISSUER, &wanted, chain))) {
      const PCCERT_CONTEXT certificate = chain->rgpChain[0]->rgpElement[0]->pCertContext;
      Result<TlsCredential> handle = AcquireHandle(session, certificate, status);
      if (!handle) continue;
      api.CertFreeCertificateChain(chain);
      return handle;
    }
  }
  QV_TRACE(kError, "unable to acquire new client credentials (0x%08lx)",
           static_cast<unsigned long>(static_cast<DWORD>(status)));
  return Error(QV_ERROR_SECURITY_CREDENTIALS);
}

}  // namespace qv
