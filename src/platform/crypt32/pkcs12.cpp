#include "crypt32/pkcs12.h"

#include <openssl/pkcs12.h>
#include <openssl/provider.h>

#include <algorithm>
#include <string>

#include "crypt32/key_pairs.h"
#include "crypt32/text.h"

namespace platform::crypt32 {
namespace {

inline void FreeBags(STACK_OF(PKCS12_SAFEBAG) * bags) noexcept {
  sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free);
}
inline void FreeSafes(STACK_OF(PKCS7) * safes) noexcept { sk_PKCS7_pop_free(safes, PKCS7_free); }
using BagsPtr = std::unique_ptr<STACK_OF(PKCS12_SAFEBAG), OpenSslDelete<FreeBags>>;
using SafesPtr = std::unique_ptr<STACK_OF(PKCS7), OpenSslDelete<FreeSafes>>;
using Pkcs12Ptr = std::unique_ptr<PKCS12, OpenSslDelete<PKCS12_free>>;
using Pkcs8Ptr = std::unique_ptr<PKCS8_PRIV_KEY_INFO, OpenSslDelete<PKCS8_PRIV_KEY_INFO_free>>;

constexpr int kUpToTerminator = -1;  // for lengths of passwords

// In the given library context, null for OpenSSL's default.
Pkcs12Ptr Decode(std::string_view file, OSSL_LIB_CTX* library) {
  PKCS12* decoded = PKCS12_init_ex(NID_pkcs7_data, library, nullptr);
  const auto* bytes = reinterpret_cast<const unsigned char*>(file.data());
  // On failure OpenSSL frees the object that it was given.
  return Pkcs12Ptr(d2i_PKCS12(&decoded, &bytes, static_cast<long>(file.size())));
}

// Collects what a file holds. The library context serves for decryption only: the results belong to
// OpenSSL's default one.
class BagReader {
 public:
  BagReader(const char* password, OSSL_LIB_CTX* library) : password_(password), library_(library) {}

  bool ReadSafe(PKCS7* safe) {
    const int type = OBJ_obj2nid(safe->type);
    if (type == NID_pkcs7_data) return ReadBags(BagsPtr(PKCS12_unpack_p7data(safe)).get());
    if (type != NID_pkcs7_encrypted) return true;
    return ReadBags(BagsPtr(PKCS12_unpack_p7encdata(safe, password_, kUpToTerminator)).get());
  }

  CertificateList Take() { return WithKeys(std::move(found_), std::move(keys_)); }

 private:
  bool ReadBags(const STACK_OF(PKCS12_SAFEBAG) * bags) {
    if (bags == nullptr) return false;
    for (int i = 0; i < sk_PKCS12_SAFEBAG_num(bags); ++i) {
      if (!ReadBag(sk_PKCS12_SAFEBAG_value(bags, i))) return false;
    }
    return true;
  }

  bool ReadBag(PKCS12_SAFEBAG* bag) {
    switch (PKCS12_SAFEBAG_get_nid(bag)) {
      case NID_keyBag:
        return AddKey(PKCS12_SAFEBAG_get0_p8inf(bag));
      case NID_pkcs8ShroudedKeyBag:
        return AddKey(
            Pkcs8Ptr(PKCS12_decrypt_skey_ex(bag, password_, kUpToTerminator, library_, nullptr))
                .get());
      case NID_certBag:
        return PKCS12_SAFEBAG_get_bag_nid(bag) != NID_x509Certificate || AddCertificate(bag);
      case NID_safeContentsBag:
        return ReadBags(PKCS12_SAFEBAG_get0_safes(bag));
      default:
        return true;
    }
  }

  bool AddKey(const PKCS8_PRIV_KEY_INFO* plain) {
    KeyPtr key(plain != nullptr ? EVP_PKCS82PKEY(plain) : nullptr);
    if (key == nullptr) return false;
    keys_.push_back(std::move(key));
    return true;
  }

  bool AddCertificate(PKCS12_SAFEBAG* bag) {
    X509Ptr certificate(PKCS12_SAFEBAG_get1_cert(bag));
    if (certificate == nullptr) return false;
    std::u16string friendly_name;
    if (char* const name = PKCS12_get_friendlyname(bag)) {
      friendly_name = ToWide(name, CP_UTF8);
      OPENSSL_free(name);
    }
    found_.push_back({std::move(certificate), std::move(friendly_name)});
    return true;
  }

  const char* const password_;
  OSSL_LIB_CTX* const library_;
  std::vector<FoundCertificate> found_;
  std::vector<KeyPtr> keys_;
};

// Finds out whether it is the file's password. No password and an empty one are not the same there,
// but whoever has neither means either.
bool CheckPassword(PKCS12* file, const char*& password) {
  const bool none = password == nullptr || *password == '\0';
  if (none && (PKCS12_mac_present(file) == 0 || PKCS12_verify_mac(file, nullptr, 0) == 1)) {
    password = nullptr;
    return true;
  }
  if (none) password = "";
  return PKCS12_verify_mac(file, password, kUpToTerminator) == 1;
}

Pkcs12Result Open(std::string_view file, const char* password, OSSL_LIB_CTX* library,
                  CertificateList& certificates) {
  const Pkcs12Ptr decoded = Decode(file, library);
  if (decoded == nullptr) return Pkcs12Result::kUnreadable;
  if (!CheckPassword(decoded.get(), password)) return Pkcs12Result::kWrongPassword;
  const SafesPtr safes(PKCS12_unpack_authsafes(decoded.get()));
  if (safes == nullptr) return Pkcs12Result::kUnreadable;
  BagReader reader(password, library);
  for (int i = 0; i < sk_PKCS7_num(safes.get()); ++i) {
    if (!reader.ReadSafe(sk_PKCS7_value(safes.get(), i))) return Pkcs12Result::kUnreadable;
  }
  certificates = reader.Take();
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

}  // namespace

bool IsPkcs12(std::string_view file) { return Decode(file, nullptr) != nullptr; }

Pkcs12Result ReadPkcs12(std::string_view file, const char* password,
                        CertificateList& certificates) {
  Pkcs12Result result = Open(file, password, nullptr, certificates);
  if (result == Pkcs12Result::kUnreadable) {
    OSSL_LIB_CTX* const legacy = LegacyLibrary();
    if (legacy == nullptr) return result;
    result = Open(file, password, legacy, certificates);
  }
  if (result != Pkcs12Result::kRead) return result;
  std::stable_partition(certificates.begin(), certificates.end(),
                        [](const CertificateRef& each) { return each->key() != nullptr; });
  return result;
}

}  // namespace platform::crypt32
