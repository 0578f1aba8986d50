// crypt32 as a module.
#include "platform/module.h"

#include <openssl/crypto.h>

#include <iterator>

#include "crypt32/chain.h"
#include "crypt32/names.h"
#include "crypt32/stores.h"

namespace platform::crypt32 {
namespace {

const ModuleExport kExports[] = {
    {"CertCloseStore", ExportAddress(&CertCloseStore)},
    {"CertEnumCertificatesInStore", ExportAddress(&CertEnumCertificatesInStore)},
    {"CertFindCertificateInStore", ExportAddress(&CertFindCertificateInStore)},
    {"CertFindChainInStore", ExportAddress(&CertFindChainInStore)},
    {"CertFreeCertificateChain", ExportAddress(&CertFreeCertificateChain)},
    {"CertFreeCertificateContext", ExportAddress(&CertFreeCertificateContext)},
    {"CertGetCertificateChain", ExportAddress(&CertGetCertificateChain)},
    {"CertGetCertificateContextProperty", ExportAddress(&CertGetCertificateContextProperty)},
    {"CertGetNameStringA", ExportAddress(&CertGetNameStringA)},
    {"CertNameToStrA", ExportAddress(&CertNameToStrA)},
    {"CertOpenStore", ExportAddress(&CertOpenStore)},
    {"CertOpenSystemStoreA", ExportAddress(&CertOpenSystemStoreA)},
    {"CertVerifyCertificateChainPolicy", ExportAddress(&CertVerifyCertificateChainPolicy)},
    {"PFXImportCertStore", ExportAddress(&PFXImportCertStore)},
    {"PFXIsPFXBlob", ExportAddress(&PFXIsPFXBlob)},
};

const Module kModule = {"crypt32.dll", kExports, std::size(kExports), nullptr, 0, nullptr};

}  // namespace
}  // namespace platform::crypt32

extern "C" QVPLATFORM_API const platform::Module* QvGetModuleRecord() {
  // Sessions may be closed while the process ends: OpenSSL must still be there then.
  OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
  return &platform::crypt32::kModule;
}
