#include "crypt32/stores.h"

#include <openssl/crypto.h>

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "crypt32/guard.h"
#include "crypt32/names.h"
#include "crypt32/pkcs12.h"
#include "crypt32/system_store.h"
#include "crypt32/text.h"

namespace platform::crypt32 {
namespace {

HCERTSTORE NewStore(CertificateList certificates) {
  return new StoreHandle{std::make_shared<const CertificateList>(std::move(certificates))};
}

std::string_view Bytes(const CRYPT_DATA_BLOB& blob) {
  return {reinterpret_cast<const char*>(blob.pbData), blob.cbData};
}

HCERTSTORE OpenSystemStore(StoreOwner owner, std::u16string_view name, bool must_exist) {
  auto certificates = ReadSystemStore(owner, FromWide(name, CP_UTF8));
  if (!certificates && must_exist) return Fail(HCERTSTORE{nullptr}, ERROR_FILE_NOT_FOUND);
  return NewStore(certificates ? std::move(*certificates) : CertificateList());
}

// Frees the certificate that a search goes on from and gives the place of the next.
std::size_t NextIndex(PCCERT_CONTEXT previous) {
  if (previous == nullptr) return 0;
  const std::size_t next = FromHandle(previous)->index() + 1;
  CertFreeCertificateContext(previous);
  return next;
}

// The first certificate from a place on that matches.
template <typename Matches>
PCCERT_CONTEXT FindFrom(const StoreRef& store, std::size_t index, const Matches& matches) {
  for (; store != nullptr && index < store->size(); ++index) {
    if (matches(*(*store)[index])) return new CertificateContext(store, index);
  }
  return Fail(PCCERT_CONTEXT{nullptr}, CRYPT_E_NOT_FOUND);
}

}  // namespace

HCERTSTORE WINAPI CertOpenStore(LPCSTR provider, DWORD /*encoding*/, ULONG_PTR /*crypto_provider*/,
                                DWORD flags, LPCVOID parameter) noexcept {
  return Guarded(HCERTSTORE{nullptr}, [&]() -> HCERTSTORE {
    constexpr DWORD kLocations = CERT_SYSTEM_STORE_CURRENT_USER | CERT_SYSTEM_STORE_LOCAL_MACHINE;
    if (provider != CERT_STORE_PROV_SYSTEM_W) {
      return Fail(HCERTSTORE{nullptr}, ERROR_FILE_NOT_FOUND);
    }
    const DWORD location = flags & kLocations;
    if (parameter == nullptr || (location != CERT_SYSTEM_STORE_CURRENT_USER &&
                                 location != CERT_SYSTEM_STORE_LOCAL_MACHINE)) {
      return Fail(HCERTSTORE{nullptr}, ERROR_INVALID_PARAMETER);
    }
    return OpenSystemStore(
        location == CERT_SYSTEM_STORE_CURRENT_USER ? StoreOwner::kUser : StoreOwner::kMachine,
        static_cast<LPCWSTR>(parameter), (flags & CERT_STORE_OPEN_EXISTING_FLAG) != 0);
  });
}

HCERTSTORE WINAPI CertOpenSystemStoreA(ULONG_PTR /*crypto_provider*/, LPCSTR name) noexcept {
  return Guarded(HCERTSTORE{nullptr}, [&]() -> HCERTSTORE {
    if (name == nullptr) return Fail(HCERTSTORE{nullptr}, ERROR_INVALID_PARAMETER);
    return OpenSystemStore(StoreOwner::kUser, ToWide(name, CP_ACP), false);
  });
}

BOOL WINAPI CertCloseStore(HCERTSTORE store, DWORD /*flags*/) noexcept {
  const std::unique_ptr<StoreHandle> closed(static_cast<StoreHandle*>(store));
  return TRUE;
}

BOOL WINAPI PFXIsPFXBlob(CRYPT_DATA_BLOB* file) noexcept {
  return Guarded(BOOL{FALSE}, [&]() -> BOOL {
    return file != nullptr && file->pbData != nullptr && IsPkcs12(Bytes(*file));
  });
}

HCERTSTORE WINAPI PFXImportCertStore(CRYPT_DATA_BLOB* file, LPCWSTR password,
                                     DWORD /*flags*/) noexcept {
  return Guarded(HCERTSTORE{nullptr}, [&]() -> HCERTSTORE {
    if (file == nullptr || file->pbData == nullptr) {
      return Fail(HCERTSTORE{nullptr}, ERROR_INVALID_PARAMETER);
    }
    std::string utf8 = password != nullptr ? FromWide(password, CP_UTF8) : std::string();
    CertificateList certificates;
    const Pkcs12Result result =
        ReadPkcs12(Bytes(*file), password != nullptr ? utf8.c_str() : nullptr, certificates);
    OPENSSL_cleanse(utf8.data(), utf8.size());
    if (result == Pkcs12Result::kRead) return NewStore(std::move(certificates));
    const bool wrong_password = result == Pkcs12Result::kWrongPassword;
    return Fail(HCERTSTORE{nullptr}, wrong_password ? ERROR_INVALID_PASSWORD : CRYPT_E_BAD_ENCODE);
  });
}

BOOL WINAPI CertFreeCertificateContext(PCCERT_CONTEXT context) noexcept {
  const std::unique_ptr<const CertificateContext> freed(FromHandle(context));
  return TRUE;
}

BOOL WINAPI CertGetCertificateContextProperty(PCCERT_CONTEXT context, DWORD property, LPVOID buffer,
                                              LPDWORD size) noexcept {
  if (context == nullptr || size == nullptr) return Fail(BOOL{FALSE}, ERROR_INVALID_PARAMETER);
  const std::u16string& name = FromHandle(context)->certificate()->friendly_name();
  if (property != CERT_FRIENDLY_NAME_PROP_ID || name.empty()) {
    return Fail(BOOL{FALSE}, CRYPT_E_NOT_FOUND);
  }
  const auto needed = static_cast<DWORD>((name.size() + 1) * sizeof(WCHAR));
  const DWORD capacity = *size;
  *size = needed;
  if (buffer == nullptr) return TRUE;
  if (capacity < needed) return Fail(BOOL{FALSE}, ERROR_MORE_DATA);
  std::memcpy(buffer, name.c_str(), needed);
  return TRUE;
}

PCCERT_CONTEXT WINAPI CertEnumCertificatesInStore(HCERTSTORE store,
                                                  PCCERT_CONTEXT previous) noexcept {
  return Guarded(PCCERT_CONTEXT{nullptr}, [&]() -> PCCERT_CONTEXT {
    return FindFrom(StoreOf(store), NextIndex(previous), [](const Certificate&) { return true; });
  });
}

PCCERT_CONTEXT WINAPI CertFindCertificateInStore(HCERTSTORE store, DWORD /*encoding*/,
                                                 DWORD /*flags*/, DWORD type, LPCVOID parameter,
                                                 PCCERT_CONTEXT previous) noexcept {
  return Guarded(PCCERT_CONTEXT{nullptr}, [&]() -> PCCERT_CONTEXT {
    const std::size_t index = NextIndex(previous);
    if (type == CERT_FIND_ANY) {
      return FindFrom(StoreOf(store), index, [](const Certificate&) { return true; });
    }
    const bool by_issuer = type == CERT_FIND_ISSUER_STR_A;
    if (parameter == nullptr || (!by_issuer && type != CERT_FIND_SUBJECT_STR_A)) {
      return Fail(PCCERT_CONTEXT{nullptr}, ERROR_INVALID_PARAMETER);
    }
    const std::u16string wanted = Folded(ToWide(static_cast<LPCSTR>(parameter), CP_ACP));
    return FindFrom(StoreOf(store), index, [&](const Certificate& candidate) {
      const X509_NAME* const name = by_issuer ? X509_get_issuer_name(candidate.x509())
                                              : X509_get_subject_name(candidate.x509());
      const std::u16string text = ToWide(NameText(name, NameForm::kValues), CP_UTF8);
      return Folded(text).find(wanted) != std::u16string::npos;
    });
  });
}

}  // namespace platform::crypt32
