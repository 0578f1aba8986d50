#include "crypt32/trust_store.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "crypt32/openssl_ptr.h"

namespace platform::crypt32 {
namespace {

// What tells one state of the roots from another.
struct Source {
  std::string path;
  ino_t inode = 0;
  off_t size = 0;
  timespec changed{};

  bool operator==(const Source& other) const {
    return path == other.path && inode == other.inode && size == other.size &&
           changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
  }
};

Source Describe(std::string path) {
  Source source;
  source.path = std::move(path);
  struct stat status {};
  if (stat(source.path.c_str(), &status) == 0) {
    source.inode = status.st_ino;
    source.size = status.st_size;
    source.changed = status.st_mtim;
  }
  return source;
}

bool HasChanged(const Source& source) { return !(Describe(source.path) == source); }

std::string Configured(const char* variable, const char* standard) {
  const char* const configured = secure_getenv(variable);
  return configured != nullptr ? configured : standard;
}

// The folders tell of certificates that come and go. A revocation list is renewed in its place.
std::vector<Source> DescribeAll(const std::string& file, const std::string& folders) {
  std::vector<Source> sources = {Describe(file)};
  std::istringstream list(folders);
  for (std::string folder; std::getline(list, folder, ':');) {
    sources.push_back(Describe(folder));
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
      const std::filesystem::path& path = entry->path();
      if (path.extension().string().starts_with(".r")) sources.push_back(Describe(path.string()));
    }
  }
  return sources;
}

std::shared_ptr<X509_STORE> ReadRoots() {
  std::shared_ptr<X509_STORE> store(X509_STORE_new(), X509_STORE_free);
  if (store == nullptr) return nullptr;
  // A file that is missing or damaged leaves fewer roots, as for every program over OpenSSL.
  X509_STORE_set_default_paths(store.get());
  return store;
}

struct Cache {
  std::mutex mutex;
  std::string file, folders;
  std::vector<Source> sources;
  std::shared_ptr<X509_STORE> store;
};

}  // namespace

std::shared_ptr<X509_STORE> TrustedRoots() {
  static Cache& cache = *new Cache;  // lives on for code that runs while the process ends
  std::string file = Configured(X509_get_default_cert_file_env(), X509_get_default_cert_file());
  std::string folders = Configured(X509_get_default_cert_dir_env(), X509_get_default_cert_dir());
  const std::lock_guard lock(cache.mutex);
  if (cache.store == nullptr || cache.file != file || cache.folders != folders ||
      std::any_of(cache.sources.begin(), cache.sources.end(), HasChanged)) {
    cache.sources = DescribeAll(file, folders);  // first: what changes meanwhile is read again
    cache.store = ReadRoots();
    cache.file = std::move(file);
    cache.folders = std::move(folders);
  }
  return cache.store;
}

}  // namespace platform::crypt32
