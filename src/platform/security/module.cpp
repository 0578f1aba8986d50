// security as a module, and its function table.
#include "platform/module.h"

#include <openssl/ssl.h>

#include <iterator>

#include "security/provider.h"

namespace platform::security {
namespace {

SecurityFunctionTableA MakeTable() {
  SecurityFunctionTableA table{};
  table.dwVersion = SECURITY_SUPPORT_PROVIDER_INTERFACE_VERSION;
  table.AcquireCredentialsHandleA = &AcquireCredentialsHandleA;
  table.FreeCredentialsHandle = &FreeCredentialsHandle;
  table.SetCredentialsAttributesA = &SetCredentialsAttributesA;
  table.InitializeSecurityContextA = &InitializeSecurityContextA;
  table.DeleteSecurityContext = &DeleteSecurityContext;
  table.ApplyControlToken = &ApplyControlToken;
  table.QueryContextAttributesA = &QueryContextAttributesA;
  table.FreeContextBuffer = &FreeContextBuffer;
  table.EncryptMessage = &EncryptMessage;
  table.DecryptMessage = &DecryptMessage;
  return table;
}

PSecurityFunctionTableA WINAPI InitSecurityInterfaceA() noexcept {
  static SecurityFunctionTableA table = MakeTable();
  return &table;
}

const ModuleExport kExports[] = {
    {"InitSecurityInterfaceA", ExportAddress(&InitSecurityInterfaceA)},
};

const Module kModule = {"security.dll", kExports, std::size(kExports), nullptr, 0, nullptr};

}  // namespace
}  // namespace platform::security

extern "C" QVPLATFORM_API const platform::Module* QvGetModuleRecord() {
  // Sessions may be closed while the process ends: OpenSSL must still be there then.
  OPENSSL_init_ssl(OPENSSL_INIT_NO_ATEXIT, nullptr);
  return &platform::security::kModule;
}
