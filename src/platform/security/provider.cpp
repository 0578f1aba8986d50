// Credentials, the handshake and the end of a session.
#include "security/provider.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "security/attributes.h"
#include "security/handles.h"

namespace platform::security {
namespace {

// Every context keeps order, finds replayed messages and encrypts, whether that is asked for or
// not.
constexpr ULONG kAttributes = ISC_REQ_REPLAY_DETECT | ISC_REQ_SEQUENCE_DETECT |
                              ISC_REQ_CONFIDENTIALITY | ISC_REQ_ALLOCATE_MEMORY | ISC_REQ_STREAM;

SecBuffer* FindBuffer(const SecBufferDesc* description, ULONG type) noexcept {
  if (description == nullptr) return nullptr;
  for (ULONG i = 0; i < description->cBuffers; ++i) {
    if (description->pBuffers[i].BufferType == type) return &description->pBuffers[i];
  }
  return nullptr;
}

std::span<const BYTE> InputOf(const SecBufferDesc* input) noexcept {
  const SecBuffer* const token = FindBuffer(input, SECBUFFER_TOKEN);
  if (token == nullptr || token->pvBuffer == nullptr) return {};
  return {static_cast<const BYTE*>(token->pvBuffer), token->cbBuffer};
}

// Tells the caller how much of the input was not used.
void SetSecondBuffer(SecBufferDesc* input, ULONG type, std::size_t size) noexcept {
  SecBuffer* const spare = FindBuffer(input, SECBUFFER_EMPTY);
  if (spare == nullptr) return;
  spare->BufferType = type;
  spare->cbBuffer = static_cast<ULONG>(size);
}

void ReportInput(SecBufferDesc* input, SECURITY_STATUS status, std::size_t used) noexcept {
  const std::size_t size = InputOf(input).size();
  if (status == SEC_E_INCOMPLETE_MESSAGE) {
    SetSecondBuffer(input, SECBUFFER_MISSING, 1);
  } else if ((status == SEC_E_OK || status == SEC_I_CONTINUE_NEEDED) && used < size) {
    SetSecondBuffer(input, SECBUFFER_EXTRA, size - used);
  }
}

// Hands what waits to be sent over to the caller. False when there is no memory. A step that has to
// be repeated with another credential gives nothing, as the caller would not send it.
bool DeliverToken(TlsContext& context, SECURITY_STATUS status, SecBuffer& token) noexcept {
  std::vector<BYTE>& waiting = context.output();
  token.cbBuffer = 0;
  token.pvBuffer = nullptr;
  if (waiting.empty() || status == SEC_I_INCOMPLETE_CREDENTIALS) return true;
  void* const copy = std::malloc(waiting.size());
  if (copy == nullptr) return false;
  std::memcpy(copy, waiting.data(), waiting.size());
  token = {static_cast<ULONG>(waiting.size()), SECBUFFER_TOKEN, copy};
  waiting.clear();
  return true;
}

SECURITY_STATUS Step(TlsContext& context, SecBufferDesc* input) {
  if (context.shutdown_requested()) {
    context.Shutdown();
    return SEC_E_OK;
  }
  std::size_t used = 0;
  const SECURITY_STATUS status = context.Handshake(InputOf(input), used);
  ReportInput(input, status, used);
  return status;
}

}  // namespace

SECURITY_STATUS WINAPI AcquireCredentialsHandleA(LPSTR /*principal*/, LPSTR package, ULONG use,
                                                 LPVOID /*logon_id*/, LPVOID credentials,
                                                 SEC_GET_KEY_FN /*get_key*/,
                                                 LPVOID /*get_key_argument*/,
                                                 PCredHandle credential,
                                                 PTimeStamp expiry) noexcept {
  return Guarded([&] {
    if (package == nullptr || std::string_view(package) != UNISP_NAME_A) {
      return SEC_E_SECPKG_NOT_FOUND;
    }
    if (credential == nullptr) return SEC_E_INVALID_HANDLE;
    if (use != SECPKG_CRED_OUTBOUND) return SEC_E_UNSUPPORTED_FUNCTION;
    CredentialRef made;
    const SECURITY_STATUS status = MakeCredential(credentials, made);
    if (status != SEC_E_OK) return status;
    *credential = ToHandle(std::make_unique<CredentialRef>(std::move(made)));
    if (expiry != nullptr) *expiry = {};
    return SEC_E_OK;
  });
}

SECURITY_STATUS WINAPI FreeCredentialsHandle(PCredHandle credential) noexcept {
  return DeleteHandle<CredentialRef>(credential);
}

SECURITY_STATUS WINAPI SetCredentialsAttributesA(PCredHandle credential, ULONG attribute,
                                                 LPVOID buffer, ULONG size) noexcept {
  return Guarded([&] {
    CredentialRef* const changed = FromHandle<CredentialRef>(credential);
    if (changed == nullptr) return SEC_E_INVALID_HANDLE;
    if (attribute != SECPKG_CRED_ATTR_SERVER_PORT) return SEC_E_UNSUPPORTED_FUNCTION;
    DWORD port = 0;
    if (buffer == nullptr || size != sizeof(port)) return SEC_E_INVALID_PARAMETER;
    std::memcpy(&port, buffer, sizeof(port));
    auto copy = std::make_shared<Credential>(**changed);  // contexts keep what they were made with
    copy->port = port;
    *changed = std::move(copy);
    return SEC_E_OK;
  });
}

SECURITY_STATUS WINAPI InitializeSecurityContextA(
    PCredHandle credential, PCtxtHandle context, LPSTR target, ULONG requirements,
    ULONG /*reserved1*/, ULONG /*data_representation*/, PSecBufferDesc input, ULONG /*reserved2*/,
    PCtxtHandle new_context, PSecBufferDesc output, ULONG* attributes, PTimeStamp expiry) noexcept {
  return Guarded([&] {
    SecBuffer* const token = FindBuffer(output, SECBUFFER_TOKEN);
    if (token == nullptr || (requirements & ISC_REQ_ALLOCATE_MEMORY) == 0) {
      return SEC_E_INVALID_PARAMETER;
    }
    const CredentialRef* const used_credential = FromHandle<CredentialRef>(credential);
    TlsContext* running = FromHandle<TlsContext>(context);
    std::unique_ptr<TlsContext> made;
    if (context == nullptr) {
      if (used_credential == nullptr || new_context == nullptr) return SEC_E_INVALID_HANDLE;
      if (target == nullptr || *target == '\0') return SEC_E_WRONG_PRINCIPAL;
      made = TlsContext::Make(*used_credential, target);
      running = made.get();
      if (running == nullptr) return SEC_E_INTERNAL_ERROR;
    } else if (running == nullptr) {
      return SEC_E_INVALID_HANDLE;
    } else if (used_credential != nullptr) {
      running->set_credential(*used_credential);
    }
    const SECURITY_STATUS status = Step(*running, input);
    if (!DeliverToken(*running, status, *token)) return SEC_E_INSUFFICIENT_MEMORY;
    if (attributes != nullptr) {
      const bool alert = status < 0 && token->cbBuffer != 0;
      *attributes = kAttributes | (alert ? ISC_RET_EXTENDED_ERROR : 0);
    }
    if (expiry != nullptr) *expiry = {};
    if (made == nullptr) {
      if (new_context != nullptr) *new_context = *context;
    } else if (status >= 0) {
      *new_context = ToHandle(std::move(made));
    }
    return status;
  });
}

SECURITY_STATUS WINAPI ApplyControlToken(PCtxtHandle context, PSecBufferDesc input) noexcept {
  TlsContext* const running = FromHandle<TlsContext>(context);
  if (running == nullptr) return SEC_E_INVALID_HANDLE;
  const std::span<const BYTE> token = InputOf(input);
  DWORD command = 0;
  if (token.size() < sizeof(command)) return SEC_E_INVALID_TOKEN;
  std::memcpy(&command, token.data(), sizeof(command));
  if (command != SCHANNEL_SHUTDOWN) return SEC_E_UNSUPPORTED_FUNCTION;
  running->RequestShutdown();
  return SEC_E_OK;
}

SECURITY_STATUS WINAPI DeleteSecurityContext(PCtxtHandle context) noexcept {
  return DeleteHandle<TlsContext>(context);
}

SECURITY_STATUS WINAPI FreeContextBuffer(LPVOID buffer) noexcept {
  std::free(buffer);
  return SEC_E_OK;
}

SECURITY_STATUS WINAPI QueryContextAttributesA(PCtxtHandle context, ULONG attribute,
                                               LPVOID buffer) noexcept {
  return Guarded([&] {
    const TlsContext* const running = FromHandle<TlsContext>(context);
    if (running == nullptr) return SEC_E_INVALID_HANDLE;
    if (buffer == nullptr) return SEC_E_INVALID_PARAMETER;
    return QueryAttribute(*running, attribute, buffer);
  });
}

}  // namespace platform::security
