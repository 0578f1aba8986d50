#include "crypt32/trust_store.h"

#include <sys/stat.h>

#include <cstdlib>
#include <mutex>
#include <string>
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

Source Describe(const char* variable, const char* standard) {
  const char* const configured = secure_getenv(variable);
  Source source;
  source.path = configured != nullptr ? configured : standard;
  struct stat status {};
  if (stat(source.path.c_str(), &status) == 0) {
    source.inode = status.st_ino;
    source.size = status.st_size;
    source.changed = status.st_mtim;
  }
  return source;
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
  std::vector<Source> sources;
  std::shared_ptr<X509_STORE> store;
};

}  // namespace

std::shared_ptr<X509_STORE> TrustedRoots() {
  static Cache& cache = *new Cache;  // lives on for code that runs while the process ends
  std::vector<Source> sources = {
      Describe(X509_get_default_cert_file_env(), X509_get_default_cert_file()),
      Describe(X509_get_default_cert_dir_env(), X509_get_default_cert_dir())};
  const std::lock_guard lock(cache.mutex);
  if (cache.store == nullptr || cache.sources != sources) {
    cache.store = ReadRoots();
    cache.sources = std::move(sources);
  }
  return cache.store;
}

}  // namespace platform::crypt32
