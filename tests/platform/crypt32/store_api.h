// The certificate library as programs find it: by name, in the module.
#ifndef PLATFORM_CRYPT32_STORE_API_H_
#define PLATFORM_CRYPT32_STORE_API_H_

#include <memory>
#include <string>

#include "platform/crypt32.h"
#include "platform/ws2_32/socket_api.h"

namespace test {

template <typename Function>
Function Crypt32(LPCSTR name) {
  return Entry<Function>("CRYPT32.DLL", name);
}

struct CertificateApi {
  CertCloseStoreFn close_store = Crypt32<CertCloseStoreFn>("CertCloseStore");
  CertEnumCertificatesInStoreFn next =
      Crypt32<CertEnumCertificatesInStoreFn>("CertEnumCertificatesInStore");
  CertFindCertificateInStoreFn find =
      Crypt32<CertFindCertificateInStoreFn>("CertFindCertificateInStore");
  CertFindChainInStoreFn find_chain = Crypt32<CertFindChainInStoreFn>("CertFindChainInStore");
  CertFreeCertificateChainFn free_chain =
      Crypt32<CertFreeCertificateChainFn>("CertFreeCertificateChain");
  CertFreeCertificateContextFn free =
      Crypt32<CertFreeCertificateContextFn>("CertFreeCertificateContext");
  CertGetCertificateChainFn get_chain =
      Crypt32<CertGetCertificateChainFn>("CertGetCertificateChain");
  CertGetCertificateContextPropertyFn property =
      Crypt32<CertGetCertificateContextPropertyFn>("CertGetCertificateContextProperty");
  CertGetNameStringAFn name_string = Crypt32<CertGetNameStringAFn>("CertGetNameStringA");
  CertNameToStrAFn name_to_text = Crypt32<CertNameToStrAFn>("CertNameToStrA");
  CertOpenStoreFn open_store = Crypt32<CertOpenStoreFn>("CertOpenStore");
  CertOpenSystemStoreAFn open_system_store =
      Crypt32<CertOpenSystemStoreAFn>("CertOpenSystemStoreA");
  CertVerifyCertificateChainPolicyFn verify =
      Crypt32<CertVerifyCertificateChainPolicyFn>("CertVerifyCertificateChainPolicy");
  PFXImportCertStoreFn import_pfx = Crypt32<PFXImportCertStoreFn>("PFXImportCertStore");
  PFXIsPFXBlobFn is_pfx = Crypt32<PFXIsPFXBlobFn>("PFXIsPFXBlob");
};

inline const CertificateApi& Certificates() {
  static const CertificateApi api;
  return api;
}

struct StoreCloser {
  void operator()(HCERTSTORE store) const { Certificates().close_store(store, 0); }
};
using OwnedStore = std::unique_ptr<void, StoreCloser>;

struct ContextFree {
  void operator()(const CERT_CONTEXT* context) const { Certificates().free(context); }
};
using OwnedContext = std::unique_ptr<const CERT_CONTEXT, ContextFree>;

struct ChainFree {
  void operator()(const CERT_CHAIN_CONTEXT* chain) const { Certificates().free_chain(chain); }
};
using OwnedChain = std::unique_ptr<const CERT_CHAIN_CONTEXT, ChainFree>;

// A store with the content of a PKCS #12 file; null when it cannot be read.
inline OwnedStore ImportPfx(const std::string& file, const char16_t* password) {
  std::string bytes = file;
  CRYPT_DATA_BLOB blob{static_cast<DWORD>(bytes.size()), reinterpret_cast<BYTE*>(bytes.data())};
  return OwnedStore(Certificates().import_pfx(&blob, password, CRYPT_USER_KEYSET));
}

inline OwnedContext FirstOf(const OwnedStore& store) {
  return OwnedContext(Certificates().next(store.get(), nullptr));
}

}  // namespace test

#endif  // PLATFORM_CRYPT32_STORE_API_H_
