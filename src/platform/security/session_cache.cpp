#include "security/session_cache.h"

#include <cstddef>
#include <ctime>
#include <utility>

namespace platform::security {
namespace {

constexpr std::size_t kMaxSessions = 256;
constexpr std::size_t kMaxSessionsOfKey = 8;  // what a few parallel connections to a server can use

bool IsUsable(const SSL_SESSION* session) {
  if (SSL_SESSION_is_resumable(session) != 1) return false;
  const time_t now = time(nullptr);
  const auto made = static_cast<time_t>(SSL_SESSION_get_time(session));
  return now >= made && now - made < SSL_SESSION_get_timeout(session);
}

}  // namespace

SessionCache& SessionCache::Instance() {
  static SessionCache& cache = *new SessionCache;  // lives on while the process ends
  return cache;
}

void SessionCache::Put(const std::string& key, SslSessionPtr session) {
  const std::lock_guard lock(mutex_);
  entries_.push_front({key, std::move(session)});
  std::size_t of_key = 0;
  for (auto entry = entries_.begin(); entry != entries_.end();) {
    const bool too_many = entry->key == key && ++of_key > kMaxSessionsOfKey;
    entry = too_many ? entries_.erase(entry) : std::next(entry);
  }
  if (entries_.size() > kMaxSessions) entries_.pop_back();
}

SslSessionPtr SessionCache::Take(const std::string& key) {
  const std::lock_guard lock(mutex_);
  for (auto entry = entries_.begin(); entry != entries_.end();) {
    if (entry->key != key) {
      ++entry;
    } else if (!IsUsable(entry->session.get())) {
      entry = entries_.erase(entry);
    } else if (SSL_SESSION_get_protocol_version(entry->session.get()) >= TLS1_3_VERSION) {
      SslSessionPtr session = std::move(entry->session);
      entries_.erase(entry);
      return session;
    } else {
      return SslSessionPtr(SSL_SESSION_dup(entry->session.get()));
    }
  }
  return nullptr;
}

void SessionCache::Forget(const std::string& key) {
  const std::lock_guard lock(mutex_);
  entries_.remove_if([&](const Entry& entry) { return entry.key == key; });
}

}  // namespace platform::security
