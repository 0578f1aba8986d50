#include "tls/validation.h"

#include <memory>
#include <optional>
#include <string>

#include "frame/session.h"
#include "frame/wide.h"
#include "tls/security_binding.h"

namespace qv {
namespace {

struct ChainDeleter {
  void operator()(const CERT_CHAIN_CONTEXT* chain) const {
    Certificates().CertFreeCertificateChain(chain);
  }
};
using Chain = std::unique_ptr<const CERT_CHAIN_CONTEXT, ChainDeleter>;

Chain BuildChain(const Certificate& certificate) {
  CERT_CHAIN_PARA parameters{};
  parameters.cbSize = sizeof(parameters);
  PCCERT_CHAIN_CONTEXT chain = nullptr;
  if (!Certificates().CertGetCertificateChain(HCCE_CURRENT_USER, certificate.get(), nullptr,
                                              certificate->hCertStore, &parameters, 0, nullptr,
                                              &chain)) {
    return nullptr;
  }
  return Chain(chain);
}

// What the policy for servers says about the chain, 0 = good; nothing when it cannot be asked.
std::optional<DWORD> CheckPolicy(const Chain& chain, std::u16string server_name) {
  HTTPSPolicyCallbackData https{};
  https.cbSize = sizeof(https);
  https.dwAuthType = AUTHTYPE_SERVER;
  https.pwszServerName = server_name.data();
  CERT_CHAIN_POLICY_PARA parameters{};
  parameters.cbSize = sizeof(parameters);
  parameters.pvExtraPolicyPara = &https;
  CERT_CHAIN_POLICY_STATUS status{};
  status.cbSize = sizeof(status);
  if (!Certificates().CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_SSL, chain.get(),
                                                       &parameters, &status)) {
    return std::nullopt;
  }
  return status.dwError;
}

}  // namespace

Certificate ServerCertificate(SecurityContext& context) {
  PCCERT_CONTEXT certificate = nullptr;
  const SECURITY_STATUS status = SecurityProvider().QueryContextAttributesA(
      context.handle(), SECPKG_ATTR_REMOTE_CERT_CONTEXT, static_cast<LPVOID>(&certificate));
  return Certificate(status == SEC_E_OK ? certificate : nullptr);
}

Error ValidateServerCertificate(Session& session, SecurityContext& context) {
  if (session.Has(HTTP_OPTION_TRUSTEDSITE)) {
    session.tls.certificate_status = 0;
    return kNoError;
  }
  const Certificate certificate = ServerCertificate(context);
  if (!certificate) return QV_ERROR_SECURITY_CERTIFICATE;
  const std::optional<std::u16string> name = WideFromUtf8Strict(ServerNameOf(session));
  if (!name || name->empty()) return QV_ERROR_INVALID_HOSTNAME;
  const Chain chain = BuildChain(certificate);
  if (!chain) return QV_ERROR_SECURITY_CERTIFICATE;
  const std::optional<DWORD> finding = CheckPolicy(chain, *name);
  if (!finding) return QV_ERROR_SECURITY_CERTIFICATE;
  session.tls.certificate_status = *finding;
  return *finding == 0 ? kNoError : Error(QV_ERROR_SECURITY_CERTIFICATE);
}

}  // namespace qv
