// A client over the provider under test, with the loops that programs have around its functions.
#ifndef PLATFORM_SECURITY_TLS_CLIENT_H_
#define PLATFORM_SECURITY_TLS_CLIENT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/crypt32/store_api.h"
#include "platform/security.h"
#include "platform/security/transport.h"

namespace test {

// The provider's function table; null when the module is missing.
const SecurityFunctionTableA* Provider();

struct ClientOptions {
  std::string target = "localhost";
  DWORD port = 0;
  DWORD protocols = 0;  // SP_PROT_* bits; 0: the newer description without any
  PCCERT_CONTEXT certificate = nullptr;
  // Where a certificate is looked for when the server asks for one; not used when null.
  HCERTSTORE store = nullptr;
};

class TlsClient {
 public:
  explicit TlsClient(Transport& transport, ClientOptions options = {});
  ~TlsClient();
  TlsClient(const TlsClient&) = delete;
  TlsClient& operator=(const TlsClient&) = delete;

  // Runs the handshake to its end.
  SECURITY_STATUS Connect();

  // The plaintext of the next record that has some; "" at the end, and then `status` tells why:
  // SEC_I_CONTEXT_EXPIRED, a failure, or SEC_E_INCOMPLETE_MESSAGE when the transport has no more.
  std::string Receive();
  std::string ReceiveAll(std::size_t size);
  // False on failure. Sends at most one record.
  bool Send(std::string_view data);
  // Sends a close-notify.
  SECURITY_STATUS Close();

  SECURITY_STATUS status() const { return status_; }
  // Statuses of all handshake steps.
  const std::vector<SECURITY_STATUS>& steps() const { return steps_; }
  int renegotiations() const { return renegotiations_; }
  SecPkgContext_ConnectionInfo ConnectionInfo();
  SecPkgContext_StreamSizes StreamSizes();
  CtxtHandle* context() { return &context_; }

 private:
  SECURITY_STATUS Acquire(PCCERT_CONTEXT certificate, CredHandle& credential);
  bool AcquireForIssuers();
  SECURITY_STATUS Loop(bool initial_read);
  SECURITY_STATUS Step(std::string& input, std::size_t& extra);
  void SendToken(SecBuffer& token, SECURITY_STATUS status, ULONG attributes);

  Transport& transport_;
  const ClientOptions options_;
  CredHandle credential_{};
  CtxtHandle context_{};
  SECURITY_STATUS status_ = SEC_E_OK;
  std::vector<SECURITY_STATUS> steps_;
  std::string received_;  // not yet decrypted
  int renegotiations_ = 0;
};

}  // namespace test

#endif  // PLATFORM_SECURITY_TLS_CLIENT_H_
