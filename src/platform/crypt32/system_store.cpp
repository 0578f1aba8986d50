#include "crypt32/system_store.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

#include "crypt32/pem_file.h"
#include "crypt32/pkcs12.h"
#include "crypt32/text.h"

namespace platform::crypt32 {
namespace {

namespace fs = std::filesystem;

constexpr const char* kUserFolderVariable = "QVHTTP_USER_CERTIFICATES";
constexpr const char* kMachineFolderVariable = "QVHTTP_MACHINE_CERTIFICATES";
constexpr const char* kMachineFolder = "/etc/qvhttp12/certificates";
constexpr const char* kFolderOfUserData = "qvhttp12/certificates";

// Programs that run with more rights than their user take no folders from the environment.
std::string Environment(const char* name) {
  const char* const value = secure_getenv(name);
  return value != nullptr ? value : "";
}

fs::path HomeFolder() {
  if (const std::string home = Environment("HOME"); !home.empty()) return home;
  std::array<char, 4096> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
  return found != nullptr ? found->pw_dir : "";
}

fs::path UserDataFolder() {
  const fs::path configured = Environment("XDG_DATA_HOME");
  if (configured.is_absolute()) return configured;
  const fs::path home = HomeFolder();
  return home.empty() ? fs::path() : home / ".local/share";
}

// The folder in which each store has its own; empty when there is none.
fs::path FolderOfStores(StoreOwner owner) {
  const bool user = owner == StoreOwner::kUser;
  const std::string elsewhere = Environment(user ? kUserFolderVariable : kMachineFolderVariable);
  if (!elsewhere.empty()) return elsewhere;
  if (!user) return kMachineFolder;
  const fs::path data = UserDataFolder();
  return data.empty() ? fs::path() : data / kFolderOfUserData;
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return text;
}

// A store's name is one folder's name, never a way out of the folder of stores.
bool IsStoreName(const std::string& name) {
  constexpr std::string_view kSeparators("/\\\0", 3);
  return !name.empty() && name.front() != '.' &&
         name.find_first_of(kSeparators) == std::string::npos;
}

std::string ReadFile(const fs::path& path) {
  constexpr std::uintmax_t kMaxFile = 4 << 20;  // a certificate file has some KiB
  std::error_code error;
  if (!fs::is_regular_file(path, error) || fs::file_size(path, error) > kMaxFile) return {};
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

CertificateList ReadDer(const std::string& file) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(file.data());
  X509Ptr certificate(d2i_X509(nullptr, &bytes, static_cast<long>(file.size())));
  if (certificate == nullptr) return {};
  return {std::make_shared<const Certificate>(std::move(certificate))};
}

CertificateList ReadCertificateFile(const fs::path& path) {
  const std::string extension = LowerCase(path.extension().string());
  if (extension == ".p12" || extension == ".pfx") {
    CertificateList certificates;
    ReadPkcs12(ReadFile(path), nullptr, certificates);
    return certificates;
  }
  if (extension != ".pem" && extension != ".crt" && extension != ".cer") return {};
  const std::string text = ReadFile(path);
  fs::path key_file = path;
  key_file.replace_extension(".key");
  CertificateList certificates = ReadPem(text, ReadFile(key_file));
  return certificates.empty() ? ReadDer(text) : certificates;
}

// By the name of its file, when it has a key and no friendly name.
CertificateRef Named(const CertificateRef& certificate, const fs::path& path) {
  if (certificate->key() == nullptr || !certificate->friendly_name().empty()) return certificate;
  EVP_PKEY_up_ref(certificate->key());
  return std::make_shared<const Certificate>(Share(certificate->x509()), KeyPtr(certificate->key()),
                                             ToWide(path.stem().string(), CP_UTF8));
}

}  // namespace

std::optional<CertificateList> ReadSystemStore(StoreOwner owner, const std::string& name) {
  const fs::path folder_of_stores = FolderOfStores(owner);
  if (folder_of_stores.empty() || !IsStoreName(name)) return std::nullopt;
  std::error_code error;
  fs::directory_iterator entries(folder_of_stores / LowerCase(name), error);
  if (error) return std::nullopt;
  std::vector<fs::path> files;
  for (; entries != fs::directory_iterator(); entries.increment(error)) {
    files.push_back(entries->path());
    if (error) break;
  }
  std::sort(files.begin(), files.end());  // the same order on every file system
  CertificateList store;
  for (const fs::path& file : files) {
    for (const CertificateRef& certificate : ReadCertificateFile(file)) {
      store.push_back(Named(certificate, file));
    }
  }
  return store;
}

}  // namespace platform::crypt32
