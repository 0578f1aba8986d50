#include "tls/security_binding.h"

#include <atomic>
#include <mutex>
#include <optional>

#include "platform/kernel32.h"
#include "transport/entry_point.h"
#include "transport/os_version.h"

namespace qv {
namespace {

constexpr DWORD kOldestMajorVersion = 6;
constexpr DWORD kNewCredentialsSince = 10;  // major version

struct Binding {
  HMODULE security = nullptr;
  HMODULE crypt = nullptr;
  SecurityFunctionTableA provider{};
  CertificateApi certificates;
  DWORD major_version = 0;
};

std::mutex binding_mutex;  // for both of the following
Binding binding;           // never changed between a successful bind and the release
std::optional<Error> outcome;
std::atomic<bool> was_asked{false};

template <class Function>
bool Find(HMODULE module, const char* name, Function& function) {
  function = FindEntryPoint<Function>(module, name);
  return function != nullptr;
}

bool FindCertificateFunctions(HMODULE module, CertificateApi& api) {
  return Find(module, "CertOpenStore", api.CertOpenStore) &&
         Find(module, "CertOpenSystemStoreA", api.CertOpenSystemStoreA) &&
         Find(module, "CertCloseStore", api.CertCloseStore) &&
         Find(module, "CertFreeCertificateContext", api.CertFreeCertificateContext) &&
         Find(module, "CertEnumCertificatesInStore", api.CertEnumCertificatesInStore) &&
         Find(module, "CertFindCertificateInStore", api.CertFindCertificateInStore) &&
         Find(module, "CertFindChainInStore", api.CertFindChainInStore) &&
         Find(module, "CertVerifyCertificateChainPolicy", api.CertVerifyCertificateChainPolicy) &&
         Find(module, "CertFreeCertificateChain", api.CertFreeCertificateChain) &&
         Find(module, "CertGetCertificateChain", api.CertGetCertificateChain) &&
         Find(module, "CertGetNameStringA", api.CertGetNameStringA) &&
         Find(module, "CertNameToStrA", api.CertNameToStrA) &&
         Find(module, "CertGetCertificateContextProperty", api.CertGetCertificateContextProperty) &&
         Find(module, "PFXIsPFXBlob", api.PFXIsPFXBlob) &&
         Find(module, "PFXImportCertStore", api.PFXImportCertStore);
}

bool FindProvider(HMODULE module, SecurityFunctionTableA& table) {
  INIT_SECURITY_INTERFACE_A init = nullptr;
  if (!Find(module, "InitSecurityInterfaceA", init)) return false;
  const PSecurityFunctionTableA found = init();
  if (found == nullptr) return false;
  table = *found;
  return true;
}

Error Bind(Binding& target) {
  OSVERSIONINFOA version{};
  version.dwOSVersionInfoSize = sizeof(version);
  if (!QueryOsVersion(&version) || version.dwMajorVersion < kOldestMajorVersion) {
    return QV_ERROR_INVALID_VERSION;
  }
  target.major_version = version.dwMajorVersion;
  target.security = LoadLibraryA("SECURITY.DLL");
  target.crypt = LoadLibraryA("CRYPT32.DLL");
  const bool found = target.security != nullptr && target.crypt != nullptr &&
                     FindCertificateFunctions(target.crypt, target.certificates) &&
                     FindProvider(target.security, target.provider);
  return found ? kNoError : Error(QV_ERROR_SECURITY_NOT_INITIALIZED);
}

}  // namespace

Error BindSecurity() {
  const std::lock_guard lock(binding_mutex);
  was_asked = true;
  if (outcome) return *outcome ? Error(QV_ERROR_SECURITY_NOT_INITIALIZED) : kNoError;
  outcome = Bind(binding);
  return *outcome;
}

bool SecurityWasAsked() { return was_asked; }

const SecurityFunctionTableA& SecurityProvider() { return binding.provider; }

const CertificateApi& Certificates() { return binding.certificates; }

bool KnowsNewCredentials() { return binding.major_version >= kNewCredentialsSince; }

}  // namespace qv
