#include "tls/credentials_record.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

#include "frame/secret.h"

namespace qv {
namespace {

// Stands before each record: the size of both in bytes.
struct alignas(std::max_align_t) BlockHead {
  std::size_t size;
};

// The texts, in the order of the record.
template <class Record>
auto TextsOf(Record& record) {
  return std::array{&record.lpszHostName,  &record.lpszUserName, &record.lpszPassword,
                    &record.lpszCertStore, &record.lpszCertName, &record.lpszKeyFile};
}

// The caller frees the block by one call, so record and texts share it.
template <class Record, class Char>
Record* Copy(const Record& source) {
  std::size_t size = sizeof(BlockHead) + sizeof(Record);
  for (const auto* text : TextsOf(source)) {
    if (*text != nullptr) size += (std::char_traits<Char>::length(*text) + 1) * sizeof(Char);
  }
  void* const block = std::calloc(1, size);
  if (block == nullptr) return nullptr;
  auto* const head = new (block) BlockHead{size};
  auto* const record = new (head + 1) Record(source);
  auto* next = reinterpret_cast<Char*>(record + 1);
  for (auto* text : TextsOf(*record)) {
    if (*text == nullptr) continue;
    const std::size_t length = std::char_traits<Char>::length(*text) + 1;
    std::memcpy(next, *text, length * sizeof(Char));
    *text = next;
    next += length;
  }
  return record;
}

}  // namespace

SECURITYCREDENTIALSA* CopyCredentials(const SECURITYCREDENTIALSA& record) {
  return Copy<SECURITYCREDENTIALSA, char>(record);
}

SECURITYCREDENTIALSW* CopyCredentials(const SECURITYCREDENTIALSW& record) {
  return Copy<SECURITYCREDENTIALSW, char16_t>(record);
}

void FreeCredentials(void* record) {
  if (record == nullptr) return;
  BlockHead* const head = static_cast<BlockHead*>(record) - 1;
  // The pointers of the record may have been changed since, so they do not lead to the texts.
  WipeBytes(head, head->size);
  std::free(head);
}

}  // namespace qv
