// An ordered list of header fields.
#ifndef QV_PROTOCOL_HEADER_LIST_H_
#define QV_PROTOCOL_HEADER_LIST_H_

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/origin.h"

namespace qv {

// How long an entry stays in the request list.
enum class Lifetime {
  kKept,         // until the application changes it
  kNextRequest,  // for the next request alone, which is still to come
  kThisRequest,  // for the current request alone
};

struct HeaderEntry {
  std::string name;  // empty: an empty slot
  std::string value;
  Lifetime lifetime = Lifetime::kKept;
  std::optional<Origin> origin;  // a credential, to be sent to this origin only
};

// Names compare without case. Removing an entry leaves an empty slot in its place, which the next
// new name fills. Entries keep their memory when the list is cleared and filled again.
class HeaderList {
 public:
  // The first entry of that name, NULL when there is none.
  const HeaderEntry* Find(std::string_view name) const;

  // Replaces the entry of that name in place, or fills the first empty slot, or appends.
  HeaderEntry& Set(std::string_view name, std::string_view value);

  // Whether there was an entry to remove.
  bool Remove(std::string_view name);

  // A new request begins: removes the entries of the one before, takes over those meant for it.
  void BeginRequest();

  // Adds an entry at the end (or in an empty slot), whatever names the list holds.
  HeaderEntry& Append(std::string_view name, std::string_view value);

  void Clear();

  // All slots in order, empty ones included.
  std::span<const HeaderEntry> entries() const { return {entries_.data(), count_}; }

  // Enumeration: the entry at the cursor, NULL at the end.
  void Rewind() { cursor_ = 0; }
  const HeaderEntry* Current();
  void Advance() { ++cursor_; }

 private:
  HeaderEntry* FindSlot(std::string_view name);
  HeaderEntry& FreeSlot();
  static void Vacate(HeaderEntry& entry);

  std::vector<HeaderEntry> entries_;  // the first count_ are in use
  std::size_t count_ = 0;
  std::size_t vacant_ = 0;  // empty slots among them
  std::size_t cursor_ = 0;
};

}  // namespace qv

#endif  // QV_PROTOCOL_HEADER_LIST_H_
