#include "protocol/header_list.h"

#include <algorithm>

#include "frame/text.h"

namespace qv {

const HeaderEntry* HeaderList::Find(std::string_view name) const {
  return const_cast<HeaderList*>(this)->FindSlot(name);
}

HeaderEntry* HeaderList::FindSlot(std::string_view name) {
  for (std::size_t i = 0; i < count_; ++i) {
    if (EqualsNoCase(entries_[i].name, name)) return &entries_[i];
  }
  return nullptr;
}

HeaderEntry& HeaderList::FreeSlot() {
  if (vacant_ > 0) {
    --vacant_;
    return *std::find_if(entries_.begin(), entries_.begin() + static_cast<std::ptrdiff_t>(count_),
                         [](const HeaderEntry& entry) { return entry.name.empty(); });
  }
  if (count_ == entries_.size()) entries_.emplace_back();
  return entries_[count_++];
}

void HeaderList::Vacate(HeaderEntry& entry) {
  entry.name.clear();
  entry.value.clear();
  entry.lifetime = Lifetime::kKept;
  entry.origin.reset();
}

HeaderEntry& HeaderList::Set(std::string_view name, std::string_view value) {
  HeaderEntry* entry = FindSlot(name);
  if (entry == nullptr) return Append(name, value);
  entry->name.assign(name);
  entry->value.assign(value);
  entry->lifetime = Lifetime::kKept;
  entry->origin.reset();
  return *entry;
}

HeaderEntry& HeaderList::Append(std::string_view name, std::string_view value) {
  HeaderEntry& entry = FreeSlot();
  entry.name.assign(name);
  entry.value.assign(value);
  return entry;
}

bool HeaderList::Remove(std::string_view name) {
  HeaderEntry* entry = FindSlot(name);
  if (entry == nullptr || name.empty()) return false;
  Vacate(*entry);
  ++vacant_;
  return true;
}

void HeaderList::BeginRequest() {
  for (std::size_t i = 0; i < count_; ++i) {
    HeaderEntry& entry = entries_[i];
    if (entry.lifetime == Lifetime::kThisRequest) {
      Vacate(entry);
      ++vacant_;
    } else if (entry.lifetime == Lifetime::kNextRequest) {
      entry.lifetime = Lifetime::kThisRequest;
    }
  }
}

void HeaderList::Clear() {
  for (std::size_t i = 0; i < count_; ++i) Vacate(entries_[i]);
  count_ = vacant_ = cursor_ = 0;
}

const HeaderEntry* HeaderList::Current() {
  while (cursor_ < count_ && (entries_[cursor_].name.empty() || entries_[cursor_].value.empty())) {
    ++cursor_;
  }
  return cursor_ < count_ ? &entries_[cursor_] : nullptr;
}

}  // namespace qv
