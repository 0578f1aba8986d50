#include "tls/certificate_store.h"

#include <string_view>

#include "frame/text.h"
#include "frame/wide.h"
#include "platform/kernel32.h"
#include "tls/security_binding.h"
#include "transfer/local_file.h"

namespace qv {
namespace {

constexpr std::string_view kDefaultStore = "MY";
constexpr std::string_view kMachinePrefix = "HKLM:";
constexpr std::string_view kUserPrefix = "HKCU:";
constexpr uint64_t kLargestFile = 16u << 20;  // far beyond any PKCS #12 file
constexpr std::size_t kFriendlyNameCapacity = 512;

struct StoreChoice {
  std::string name;
  DWORD options = 0;
  bool is_file = false;
};

bool IsRegularFile(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(WideFromUtf8(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES &&
         (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0;
}

Result<StoreChoice> ChooseStore(const TlsIdentity& identity) {
  StoreChoice choice{identity.store, identity.store_options};
  if (choice.options == 0) choice.options = CREDENTIAL_STORE_CURRENT_USER;
  const bool file_wanted = (choice.options & CREDENTIAL_STORE_FILE) != 0;
  if (choice.name.empty()) {
    if (file_wanted) return Error(QV_ERROR_INVALID_FILE_NAME);
  } else if (StartsWithNoCase(choice.name, kMachinePrefix)) {
    choice.name.erase(0, kMachinePrefix.size());
    choice.options = CREDENTIAL_STORE_LOCAL_MACHINE;
  } else if (StartsWithNoCase(choice.name, kUserPrefix)) {
    choice.name.erase(0, kUserPrefix.size());
    choice.options = CREDENTIAL_STORE_CURRENT_USER;
  } else {
    choice.is_file = file_wanted || IsRegularFile(choice.name);
  }
  if (choice.name.empty()) choice.name = kDefaultStore;
  return choice;
}

Result<CertificateStore> OpenSystemStore(const StoreChoice& choice) {
  const std::u16string name = WideFromUtf8(choice.name);
  for (const auto& [option, location] :
       {std::pair{CREDENTIAL_STORE_LOCAL_MACHINE, CERT_SYSTEM_STORE_LOCAL_MACHINE},
        std::pair{CREDENTIAL_STORE_CURRENT_USER, CERT_SYSTEM_STORE_CURRENT_USER}}) {
    if ((choice.options & option) == 0) continue;
    const DWORD flags = location | CERT_STORE_READONLY_FLAG | CERT_STORE_OPEN_EXISTING_FLAG;
    CertificateStore store(
        Certificates().CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, flags, name.c_str()));
    if (store) return store;
  }
  return Error(QV_ERROR_SECURITY_CREDENTIALS);
}

Result<std::string> ReadWholeFile(const std::string& path) {
  Result<LocalFile> file = LocalFile::OpenForReading(path);
  if (!file) return Error(QV_ERROR_FILE_NOT_FOUND);
  Result<uint64_t> size = file->Size();
  if (!size || *size == 0 || *size > kLargestFile) return Error(QV_ERROR_INVALID_FILE_TYPE);
  std::string content(static_cast<std::size_t>(*size), '\0');
  Result<std::size_t> read = file->Read({content.data(), content.size()});
  if (!read || *read != content.size()) return Error(QV_ERROR_INVALID_FILE_TYPE);
  return content;
}

// A file without a password may be encrypted with the empty one.
Result<CertificateStore> OpenFile(const StoreChoice& choice, const TlsIdentity& identity) {
  Result<std::string> content = ReadWholeFile(choice.name);
  if (!content) return content.error();
  CRYPT_DATA_BLOB blob{static_cast<DWORD>(content->size()),
                       reinterpret_cast<BYTE*>(content->data())};
  const CertificateApi& api = Certificates();
  if (!api.PFXIsPFXBlob(&blob)) return Error(QV_ERROR_SECURITY_CREDENTIALS);
  const WideSecret password(identity.password ? WideFromUtf8(identity.password->text())
                                              : std::u16string());
  LPCWSTR given = identity.password ? password.text().c_str() : nullptr;
  CertificateStore store(api.PFXImportCertStore(&blob, given, CRYPT_USER_KEYSET));
  if (!store && given == nullptr) {
    store = CertificateStore(api.PFXImportCertStore(&blob, u"", CRYPT_USER_KEYSET));
  }
  if (!store) return Error(QV_ERROR_SECURITY_CREDENTIALS);
  return store;
}

std::string FriendlyNameOf(PCCERT_CONTEXT certificate) {
  WCHAR name[kFriendlyNameCapacity] = {};
  DWORD size = sizeof(name);
  if (!Certificates().CertGetCertificateContextProperty(certificate, CERT_FRIENDLY_NAME_PROP_ID,
                                                        name, &size)) {
    return {};
  }
  name[kFriendlyNameCapacity - 1] = u'\0';
  return Utf8FromWide(name);
}

}  // namespace

Result<CertificateStore> OpenCertificateStore(const TlsIdentity& identity) {
  Result<StoreChoice> choice = ChooseStore(identity);
  if (!choice) return choice.error();
  return choice->is_file ? OpenFile(*choice, identity) : OpenSystemStore(*choice);
}

Certificate FindClientCertificate(const CertificateStore& store, const std::string& name) {
  const CertificateApi& api = Certificates();
  PCCERT_CONTEXT certificate = nullptr;
  while ((certificate = api.CertEnumCertificatesInStore(store.get(), certificate)) != nullptr) {
    if (EqualsNoCase(FriendlyNameOf(certificate), name)) return Certificate(certificate);
  }
  return Certificate(api.CertFindCertificateInStore(
      store.get(), X509_ASN_ENCODING, 0, CERT_FIND_SUBJECT_STR_A, name.c_str(), nullptr));
}

}  // namespace qv
