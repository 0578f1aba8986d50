#include "platform/security/tls_client.h"

#include <algorithm>

#include "platform/ws2_32/socket_api.h"

namespace test {
namespace {

constexpr ULONG kRequirements = ISC_REQ_SEQUENCE_DETECT | ISC_REQ_REPLAY_DETECT |
                                ISC_REQ_CONFIDENTIALITY | ISC_REQ_ALLOCATE_MEMORY |
                                ISC_REQ_EXTENDED_ERROR | ISC_REQ_STREAM;
constexpr std::size_t kReceiveBuffer = 65536;

SecBufferDesc Describe(SecBuffer* buffers, ULONG count) {
  return {SECBUFFER_VERSION, count, buffers};
}

// False when nothing came.
bool ReceiveMore(Transport& transport, std::string& received) {
  std::string chunk(kReceiveBuffer, '\0');
  chunk.resize(transport.Receive(chunk.data(), chunk.size()));
  received += chunk;
  return !chunk.empty();
}

}  // namespace

const SecurityFunctionTableA* Provider() {
  const auto init = Entry<INIT_SECURITY_INTERFACE_A>("SECURITY.DLL", "InitSecurityInterfaceA");
  return init != nullptr ? init() : nullptr;
}

TlsClient::TlsClient(Transport& transport, ClientOptions options)
    : transport_(transport), options_(std::move(options)) {}

TlsClient::~TlsClient() {
  if (context_.dwLower != 0) Provider()->DeleteSecurityContext(&context_);
  if (credential_.dwLower != 0) Provider()->FreeCredentialsHandle(&credential_);
}

SECURITY_STATUS TlsClient::Acquire(PCCERT_CONTEXT certificate, CredHandle& credential) {
  constexpr DWORD kFlags = SCH_CRED_MANUAL_CRED_VALIDATION | SCH_CRED_NO_DEFAULT_CREDS;
  const DWORD count = certificate != nullptr ? 1 : 0;
  SCHANNEL_CRED older{};
  older.dwVersion = SCHANNEL_CRED_VERSION;
  older.cCreds = count;
  older.paCred = &certificate;
  older.grbitEnabledProtocols = options_.protocols;
  older.dwFlags = kFlags | SCH_USE_STRONG_CRYPTO;
  SCH_CREDENTIALS newer{};
  newer.dwVersion = SCH_CREDENTIALS_VERSION;
  newer.cCreds = count;
  newer.paCred = &certificate;
  newer.dwFlags = kFlags;
  char package[] = UNISP_NAME_A;
  void* const description = options_.protocols != 0 ? static_cast<void*>(&older) : &newer;
  const SECURITY_STATUS status =
      Provider()->AcquireCredentialsHandleA(nullptr, package, SECPKG_CRED_OUTBOUND, nullptr,
                                            description, nullptr, nullptr, &credential, nullptr);
  DWORD port = options_.port;
  if (status != SEC_E_OK || port == 0) return status;
  return Provider()->SetCredentialsAttributesA(&credential, SECPKG_CRED_ATTR_SERVER_PORT, &port,
                                               sizeof(port));
}

bool TlsClient::AcquireForIssuers() {
  SecPkgContext_IssuerListInfoEx issuers{};
  if (Provider()->QueryContextAttributesA(&context_, SECPKG_ATTR_ISSUER_LIST_EX, &issuers) != 0) {
    return false;
  }
  CERT_CHAIN_FIND_BY_ISSUER_PARA wanted{};
  wanted.cbSize = sizeof(wanted);
  wanted.pszUsageIdentifier = szOID_PKIX_KP_CLIENT_AUTH;
  wanted.cIssuer = issuers.cIssuers;
  wanted.rgIssuer = issuers.aIssuers;
  bool acquired = false;
  PCCERT_CHAIN_CONTEXT chain = nullptr;
  while (!acquired && (chain = Certificates().find_chain(options_.store, X509_ASN_ENCODING, 0,
                                                         CERT_CHAIN_FIND_BY_ISSUER, &wanted,
                                                         chain)) != nullptr) {
    CredHandle credential{};
    const PCCERT_CONTEXT end = chain->rgpChain[0]->rgpElement[0]->pCertContext;
    if (Acquire(end, credential) != SEC_E_OK) continue;
    Provider()->FreeCredentialsHandle(&credential_);
    credential_ = credential;
    acquired = true;
  }
  Certificates().free_chain(chain);
  Provider()->FreeContextBuffer(issuers.aIssuers);
  return acquired;
}

void TlsClient::SendToken(SecBuffer& token, SECURITY_STATUS status, ULONG attributes) {
  const bool alert = status < 0 && (attributes & ISC_RET_EXTENDED_ERROR) != 0;
  if (status == SEC_E_OK || status == SEC_I_CONTINUE_NEEDED || alert) {
    transport_.Send({static_cast<const char*>(token.pvBuffer), token.cbBuffer});
  }
  Provider()->FreeContextBuffer(token.pvBuffer);
}

SECURITY_STATUS TlsClient::Step(std::string& input, std::size_t& extra) {
  SecBuffer in[] = {{static_cast<ULONG>(input.size()), SECBUFFER_TOKEN, input.data()},
                    {0, SECBUFFER_EMPTY, nullptr}};
  SecBuffer out[] = {{0, SECBUFFER_TOKEN, nullptr}};
  SecBufferDesc in_description = Describe(in, 2);
  SecBufferDesc out_description = Describe(out, 1);
  ULONG attributes = 0;
  const SECURITY_STATUS status = Provider()->InitializeSecurityContextA(
      &credential_, &context_, nullptr, kRequirements, 0, SECURITY_NATIVE_DREP, &in_description, 0,
      nullptr, &out_description, &attributes, nullptr);
  steps_.push_back(status);
  SendToken(out[0], status, attributes);
  extra = in[1].BufferType == SECBUFFER_EXTRA ? in[1].cbBuffer : 0;
  return status;
}

SECURITY_STATUS TlsClient::Loop(bool initial_read) {
  std::string input = initial_read ? std::string() : received_;
  bool read = initial_read;
  SECURITY_STATUS status = SEC_I_CONTINUE_NEEDED;
  while (status == SEC_I_CONTINUE_NEEDED || status == SEC_E_INCOMPLETE_MESSAGE ||
         status == SEC_I_INCOMPLETE_CREDENTIALS) {
    if (input.empty() || status == SEC_E_INCOMPLETE_MESSAGE) {
      if (read && !ReceiveMore(transport_, input)) return SEC_E_INCOMPLETE_MESSAGE;
      read = true;
    }
    std::size_t extra = 0;
    status = Step(input, extra);
    if (status == SEC_E_INCOMPLETE_MESSAGE) continue;
    if (status < 0) return status;
    if (status == SEC_I_INCOMPLETE_CREDENTIALS) {
      AcquireForIssuers();
      read = false;
      status = SEC_I_CONTINUE_NEEDED;
      continue;
    }
    input.erase(0, input.size() - extra);
  }
  received_ = input;
  return status;
}

SECURITY_STATUS TlsClient::Connect() {
  status_ = Acquire(options_.certificate, credential_);
  if (status_ != SEC_E_OK) return status_;
  SecBuffer out[] = {{0, SECBUFFER_TOKEN, nullptr}};
  SecBufferDesc out_description = Describe(out, 1);
  ULONG attributes = 0;
  std::string target = options_.target;
  status_ = Provider()->InitializeSecurityContextA(
      &credential_, nullptr, target.data(), kRequirements, 0, SECURITY_NATIVE_DREP, nullptr, 0,
      &context_, &out_description, &attributes, nullptr);
  steps_.push_back(status_);
  if (status_ != SEC_I_CONTINUE_NEEDED) return status_;
  SendToken(out[0], status_, attributes);
  return status_ = Loop(true);
}

std::string TlsClient::Receive() {
  for (;;) {
    SecBuffer buffers[] = {{static_cast<ULONG>(received_.size()), SECBUFFER_DATA, received_.data()},
                           {0, SECBUFFER_EMPTY, nullptr},
                           {0, SECBUFFER_EMPTY, nullptr},
                           {0, SECBUFFER_EMPTY, nullptr}};
    SecBufferDesc message = Describe(buffers, 4);
    status_ = Provider()->DecryptMessage(&context_, &message, 0, nullptr);
    if (status_ == SEC_E_INCOMPLETE_MESSAGE) {
      if (!ReceiveMore(transport_, received_)) return {};
      continue;
    }
    if (status_ != SEC_E_OK && status_ != SEC_I_RENEGOTIATE) return {};
    std::string data;
    std::string extra;
    for (int i = 3; i >= 1; --i) {
      const std::string_view part(static_cast<const char*>(buffers[i].pvBuffer),
                                  buffers[i].cbBuffer);
      if (buffers[i].BufferType == SECBUFFER_DATA) data = part;
      if (buffers[i].BufferType == SECBUFFER_EXTRA) extra = part;
    }
    received_ = extra;
    if (status_ == SEC_I_RENEGOTIATE) {
      ++renegotiations_;
      status_ = Loop(false);
      if (status_ != SEC_E_OK) return {};
    }
    if (!data.empty()) return data;
  }
}

std::string TlsClient::ReceiveAll(std::size_t size) {
  std::string all;
  while (all.size() < size) {
    const std::string part = Receive();
    if (part.empty()) break;
    all += part;
  }
  return all;
}

bool TlsClient::Send(std::string_view data) {
  const SecPkgContext_StreamSizes sizes = StreamSizes();
  std::string message(sizes.cbHeader + data.size() + sizes.cbTrailer, '\0');
  std::copy(data.begin(), data.end(), message.begin() + sizes.cbHeader);
  char* const begin = message.data();
  SecBuffer buffers[] = {
      {sizes.cbHeader, SECBUFFER_STREAM_HEADER, begin},
      {static_cast<ULONG>(data.size()), SECBUFFER_DATA, begin + sizes.cbHeader},
      {sizes.cbTrailer, SECBUFFER_STREAM_TRAILER, begin + sizes.cbHeader + data.size()},
      {0, SECBUFFER_EMPTY, nullptr}};
  SecBufferDesc description = Describe(buffers, 4);
  status_ = Provider()->EncryptMessage(&context_, 0, &description, 0);
  if (status_ != SEC_E_OK) return false;
  transport_.Send(message.substr(
      0, std::size_t{buffers[0].cbBuffer} + buffers[1].cbBuffer + buffers[2].cbBuffer));
  return true;
}

SECURITY_STATUS TlsClient::Close() {
  DWORD command = SCHANNEL_SHUTDOWN;
  SecBuffer control[] = {{sizeof(command), SECBUFFER_TOKEN, &command}};
  SecBufferDesc control_description = Describe(control, 1);
  status_ = Provider()->ApplyControlToken(&context_, &control_description);
  if (status_ != SEC_E_OK) return status_;
  SecBuffer out[] = {{0, SECBUFFER_TOKEN, nullptr}};
  SecBufferDesc out_description = Describe(out, 1);
  ULONG attributes = 0;
  status_ = Provider()->InitializeSecurityContextA(&credential_, &context_, nullptr, kRequirements,
                                                   0, SECURITY_NATIVE_DREP, nullptr, 0, nullptr,
                                                   &out_description, &attributes, nullptr);
  SendToken(out[0], status_, attributes);
  return status_;
}

SecPkgContext_ConnectionInfo TlsClient::ConnectionInfo() {
  SecPkgContext_ConnectionInfo info{};
  status_ = Provider()->QueryContextAttributesA(&context_, SECPKG_ATTR_CONNECTION_INFO, &info);
  return info;
}

SecPkgContext_StreamSizes TlsClient::StreamSizes() {
  SecPkgContext_StreamSizes sizes{};
  status_ = Provider()->QueryContextAttributesA(&context_, SECPKG_ATTR_STREAM_SIZES, &sizes);
  return sizes;
}

}  // namespace test
