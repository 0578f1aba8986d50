#include "tls/security_context.h"

#include <algorithm>

#include "frame/session.h"
#include "tls/security_binding.h"

namespace qv {
namespace {

constexpr ULONG kRequirements = ISC_REQ_SEQUENCE_DETECT | ISC_REQ_REPLAY_DETECT |
                                ISC_REQ_CONFIDENTIALITY | ISC_REQ_ALLOCATE_MEMORY |
                                ISC_REQ_EXTENDED_ERROR | ISC_REQ_STREAM;
constexpr ULONG kLargestMessage = 16384;

bool IsSet(const SecHandle& handle) { return handle.dwLower != 0 || handle.dwUpper != 0; }

SecBuffer BufferOf(ULONG type, char* bytes = nullptr, std::size_t size = 0) {
  return {static_cast<ULONG>(size), type, bytes};
}

template <std::size_t kCount>
SecBufferDesc Describe(SecBuffer (&buffers)[kCount]) {
  return {SECBUFFER_VERSION, kCount, buffers};
}

}  // namespace

void TokenDeleter::operator()(char* bytes) const { SecurityProvider().FreeContextBuffer(bytes); }

SecurityContext::~SecurityContext() {
  if (IsSet(handle_)) SecurityProvider().DeleteSecurityContext(&handle_);
}

SecurityContext::Step SecurityContext::Advance(SecBufferDesc* input,
                                               const std::string* server_name) {
  SecBuffer out[] = {BufferOf(SECBUFFER_TOKEN)};
  SecBufferDesc output = Describe(out);
  ULONG attributes = 0;
  TimeStamp expiry{};
  const bool first = !IsSet(handle_);
  std::string name = server_name != nullptr ? *server_name : "";
  Step step;
  step.status = SecurityProvider().InitializeSecurityContextA(
      credential_.handle.get(), first ? nullptr : &handle_,
      server_name != nullptr ? name.data() : nullptr, kRequirements, 0, SECURITY_NATIVE_DREP, input,
      0, first ? &handle_ : nullptr, &output, &attributes, &expiry);
  step.token.bytes.reset(static_cast<char*>(out[0].pvBuffer));
  const bool sendable = step.status == SEC_E_OK || step.status == SEC_I_CONTINUE_NEEDED ||
                        (step.status < 0 && (attributes & ISC_RET_EXTENDED_ERROR) != 0);
  if (sendable && step.token.bytes) step.token.size = out[0].cbBuffer;
  return step;
}

SecurityContext::Step SecurityContext::Begin(const std::string& server_name) {
  return Advance(nullptr, &server_name);
}

SecurityContext::Step SecurityContext::Continue(std::span<char> input) {
  SecBuffer in[] = {BufferOf(SECBUFFER_TOKEN, input.data(), input.size()),
                    BufferOf(SECBUFFER_EMPTY)};
  SecBufferDesc description = Describe(in);
  Step step = Advance(&description, nullptr);
  if (in[1].BufferType == SECBUFFER_EXTRA) {
    step.extra = std::min<std::size_t>(in[1].cbBuffer, input.size());
  }
  return step;
}

void SecurityContext::AnswerCertificateRequest(const Session& session) {
  SecPkgContext_IssuerListInfoEx issuers{};
  const SecurityFunctionTableA& provider = SecurityProvider();
  if (provider.QueryContextAttributesA(&handle_, SECPKG_ATTR_ISSUER_LIST_EX, &issuers) !=
      SEC_E_OK) {
    return;
  }
  Result<TlsCredential> credential = AcquireForIssuers(session, credential_.store, issuers);
  provider.FreeContextBuffer(issuers.aIssuers);
  if (credential) credential_.handle = *std::move(credential);
}

Error SecurityContext::TakeStreamSizes() {
  if (SecurityProvider().QueryContextAttributesA(&handle_, SECPKG_ATTR_STREAM_SIZES, &sizes_) !=
      SEC_E_OK) {
    return QV_ERROR_SECURITY_CONTEXT;
  }
  if (sizes_.cbMaximumMessage == 0) return QV_ERROR_INTERNAL_FAILURE;
  sizes_.cbMaximumMessage = std::min(sizes_.cbMaximumMessage, kLargestMessage);
  return kNoError;
}

SecurityContext::Decrypted SecurityContext::Decrypt(std::span<char> input) {
  SecBuffer buffers[] = {BufferOf(SECBUFFER_DATA, input.data(), input.size()),
                         BufferOf(SECBUFFER_EMPTY), BufferOf(SECBUFFER_EMPTY),
                         BufferOf(SECBUFFER_EMPTY)};
  SecBufferDesc message = Describe(buffers);
  Decrypted result;
  result.status = SecurityProvider().DecryptMessage(&handle_, &message, 0, nullptr);
  if (result.status != SEC_E_OK && result.status != SEC_I_RENEGOTIATE) return result;
  const auto find = [&](ULONG type) {
    return std::find_if(std::begin(buffers) + 1, std::end(buffers),
                        [type](const SecBuffer& buffer) { return buffer.BufferType == type; });
  };
  if (const auto data = find(SECBUFFER_DATA); data != std::end(buffers)) {
    result.data = {static_cast<char*>(data->pvBuffer), data->cbBuffer};
  }
  if (const auto extra = find(SECBUFFER_EXTRA); extra != std::end(buffers)) {
    result.extra = extra->cbBuffer;
  }
  return result;
}

Result<std::size_t> SecurityContext::Encrypt(char* record, std::size_t size) {
  char* const data = record + header_size();
  SecBuffer buffers[] = {BufferOf(SECBUFFER_STREAM_HEADER, record, header_size()),
                         BufferOf(SECBUFFER_DATA, data, size),
                         BufferOf(SECBUFFER_STREAM_TRAILER, data + size, trailer_size()),
                         BufferOf(SECBUFFER_EMPTY)};
  SecBufferDesc message = Describe(buffers);
  const SECURITY_STATUS status = SecurityProvider().EncryptMessage(&handle_, 0, &message, 0);
  if (status == SEC_E_INCOMPLETE_MESSAGE) return std::size_t{0};
  if (status != SEC_E_OK) return Error(QV_ERROR_SECURITY_ENCRYPTION);
  return std::size_t{buffers[0].cbBuffer} + buffers[1].cbBuffer + buffers[2].cbBuffer;
}

Token SecurityContext::Shutdown() {
  DWORD request = SCHANNEL_SHUTDOWN;
  SecBuffer control[] = {
      BufferOf(SECBUFFER_TOKEN, reinterpret_cast<char*>(&request), sizeof(request))};
  SecBufferDesc description = Describe(control);
  if (SecurityProvider().ApplyControlToken(&handle_, &description) != SEC_E_OK) return {};
  return Advance(nullptr, nullptr).token;
}

}  // namespace qv
