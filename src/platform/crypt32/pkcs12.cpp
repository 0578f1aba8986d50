#include "crypt32/pkcs12.h"

#include <openssl/pkcs12.h>
#include <openssl/provider.h>

#include <string>

#include "crypt32/text.h"

namespace platform::crypt32 {
namespace {

using Pkcs12Ptr = std::unique_ptr<PKCS12, OpenSslDelete<PKCS12_free>>;
using Pkcs8Ptr = std::unique_ptr<PKCS8_PRIV_KEY_INFO, OpenSslDelete<PKCS8_PRIV_KEY_INFO_free>>;

// What a file holds.
struct Content {
  KeyPtr key;
  X509Ptr certificate;  // of the key
  X509StackPtr others;
};

// In the given library context, null for OpenSSL's default.
Pkcs12Ptr Decode(std::string_view file, OSSL_LIB_CTX* library) {
  PKCS12* decoded = PKCS12_init_ex(NID_pkcs7_data, library, nullptr);
  const auto* bytes = reinterpret_cast<const unsigned char*>(file.data());
  // On failure OpenSSL frees the object that it was given.
  return Pkcs12Ptr(d2i_PKCS12(&decoded, &bytes, static_cast<long>(file.size())));
}

Pkcs12Result Open(std::string_view file, const char* password, OSSL_LIB_CTX* library,
                  Content& content) {
  const Pkcs12Ptr decoded = Decode(file, library);
  if (decoded == nullptr) return Pkcs12Result::kUnreadable;
  EVP_PKEY* key = nullptr;
  X509* certificate = nullptr;
  STACK_OF(X509)* others = nullptr;
  ERR_clear_error();
  if (PKCS12_parse(decoded.get(), password, &key, &certificate, &others) != 1) {
    const unsigned long error = ERR_peek_last_error();
    const bool wrong_password = ERR_GET_LIB(error) == ERR_LIB_PKCS12 &&
                                ERR_GET_REASON(error) == PKCS12_R_MAC_VERIFY_FAILURE;
    return wrong_password ? Pkcs12Result::kWrongPassword : Pkcs12Result::kUnreadable;
  }
  content = {KeyPtr(key), X509Ptr(certificate), X509StackPtr(others)};
  return Pkcs12Result::kRead;
}

// Older programs encrypt with ciphers that OpenSSL keeps in its legacy provider. They are used in a
// context of their own, so that they stay out of reach for everything else in the process.
OSSL_LIB_CTX* LegacyLibrary() {
  static OSSL_LIB_CTX* const library = []() -> OSSL_LIB_CTX* {
    OSSL_LIB_CTX* const created = OSSL_LIB_CTX_new();
    if (created == nullptr) return nullptr;
    if (OSSL_PROVIDER_load(created, "default") != nullptr &&
        OSSL_PROVIDER_load(created, "legacy") != nullptr) {
      return created;
    }
    OSSL_LIB_CTX_free(created);
    return nullptr;
  }();
  return library;
}

// The same objects in OpenSSL's default context.
X509Ptr MoveToDefault(const X509* certificate) {
  unsigned char* encoded = nullptr;
  const int size = i2d_X509(certificate, &encoded);
  if (size < 0) return nullptr;
  const unsigned char* bytes = encoded;
  X509Ptr moved(d2i_X509(nullptr, &bytes, size));
  OPENSSL_free(encoded);
  int name_size = 0;
  // The friendly name is kept beside the encoding.
  unsigned char* const name = X509_alias_get0(const_cast<X509*>(certificate), &name_size);
  if (moved != nullptr && name != nullptr) X509_alias_set1(moved.get(), name, name_size);
  return moved;
}

void MoveToDefault(Content& content) {
  if (content.key != nullptr) {
    const Pkcs8Ptr plain(EVP_PKEY2PKCS8(content.key.get()));
    content.key.reset(plain != nullptr ? EVP_PKCS82PKEY(plain.get()) : nullptr);
  }
  if (content.certificate != nullptr)
    content.certificate = MoveToDefault(content.certificate.get());
  X509StackPtr moved(sk_X509_new_null());
  for (int i = 0; i < sk_X509_num(content.others.get()); ++i) {
    X509Ptr certificate = MoveToDefault(sk_X509_value(content.others.get(), i));
    if (certificate != nullptr && sk_X509_push(moved.get(), certificate.get()) > 0) {
      (void)certificate.release();
    }
  }
  content.others = std::move(moved);
}

CertificateRef Make(X509Ptr certificate, KeyPtr key) {
  int size = 0;
  const unsigned char* const name = X509_alias_get0(certificate.get(), &size);
  std::u16string friendly_name;
  if (name != nullptr) {
    const std::string_view utf8(reinterpret_cast<const char*>(name),
                                static_cast<std::size_t>(size));
    friendly_name = ToWide(utf8, CP_UTF8);
  }
  return std::make_shared<const Certificate>(std::move(certificate), std::move(key),
                                             std::move(friendly_name));
}

}  // namespace

bool IsPkcs12(std::string_view file) { return Decode(file, nullptr) != nullptr; }

Pkcs12Result ReadPkcs12(std::string_view file, const char* password,
                        CertificateList& certificates) {
  Content content;
  Pkcs12Result result = Open(file, password, nullptr, content);
  if (result == Pkcs12Result::kUnreadable) {
    OSSL_LIB_CTX* const legacy = LegacyLibrary();
    if (legacy == nullptr) return result;
    result = Open(file, password, legacy, content);
    if (result == Pkcs12Result::kRead) MoveToDefault(content);
  }
  if (result != Pkcs12Result::kRead) return result;
  if (content.certificate != nullptr) {
    certificates.push_back(Make(std::move(content.certificate), std::move(content.key)));
  }
  for (int i = 0; i < sk_X509_num(content.others.get()); ++i) {
    certificates.push_back(Make(Share(sk_X509_value(content.others.get(), i)), nullptr));
  }
  return Pkcs12Result::kRead;
}

}  // namespace platform::crypt32
