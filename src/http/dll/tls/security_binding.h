// The platform's security provider and certificate library, found when a session first needs them.
#ifndef QV_TLS_SECURITY_BINDING_H_
#define QV_TLS_SECURITY_BINDING_H_

#include "frame/error.h"
#include "platform/crypt32.h"
#include "platform/security.h"

namespace qv {

// Functions of the certificate library; all are there once binding has succeeded.
struct CertificateApi {
  CertOpenStoreFn CertOpenStore = nullptr;
  CertOpenSystemStoreAFn CertOpenSystemStoreA = nullptr;
  CertCloseStoreFn CertCloseStore = nullptr;
  CertFreeCertificateContextFn CertFreeCertificateContext = nullptr;
  CertEnumCertificatesInStoreFn CertEnumCertificatesInStore = nullptr;
  CertFindCertificateInStoreFn CertFindCertificateInStore = nullptr;
  CertFindChainInStoreFn CertFindChainInStore = nullptr;
  CertVerifyCertificateChainPolicyFn CertVerifyCertificateChainPolicy = nullptr;
  CertFreeCertificateChainFn CertFreeCertificateChain = nullptr;
  CertGetCertificateChainFn CertGetCertificateChain = nullptr;
  CertGetNameStringAFn CertGetNameStringA = nullptr;
  CertNameToStrAFn CertNameToStrA = nullptr;
  CertGetCertificateContextPropertyFn CertGetCertificateContextProperty = nullptr;
  PFXIsPFXBlobFn PFXIsPFXBlob = nullptr;
  PFXImportCertStoreFn PFXImportCertStore = nullptr;
};

// Finds both modules, which stay loaded: a thread may still wait on a secure session when the
// library ends. A failure stays, too: QV_ERROR_SECURITY_NOT_INITIALIZED (something is absent),
// QV_ERROR_INVALID_VERSION (of the system).
Error BindSecurity();

// Whether BindSecurity has been called.
bool SecurityWasAsked();

// For callers that know that binding has succeeded.
const SecurityFunctionTableA& SecurityProvider();
const CertificateApi& Certificates();

// Whether the provider takes SCH_CREDENTIALS, which can name TLS 1.3.
bool KnowsNewCredentials();

}  // namespace qv

#endif  // QV_TLS_SECURITY_BINDING_H_
