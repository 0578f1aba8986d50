#ifndef TOOLS_QVHTTP_PARTIAL_RECORD_H_
#define TOOLS_QVHTTP_PARTIAL_RECORD_H_

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "fields.h"

// What a partial download is a part of. It is kept in a file beside the partial one.
struct PartialRecord {
  std::string url;                      // that was asked for, without user name and password
  std::string validator;                // for If-Range; empty: the download cannot be resumed
  std::optional<std::uint64_t> length;  // of the whole, if it was announced
};

// The record of a response to a request for `url`. Its validator is the strong entity tag or, where
// there is no tag at all, a date that is as good (RFC 9110 section 13.1.5).
PartialRecord DescribeResponse(const std::string& url, const HeaderList& headers);

// Whether a response may be of the version of the resource that the record is about: what it tells
// does not contradict the record.
bool MayMatch(const PartialRecord& record, const HeaderList& headers);

// Nothing when the file does not exist or holds no record.
std::optional<PartialRecord> LoadPartialRecord(const std::filesystem::path& file);

// Makes the file anew. Throws Failure.
void StorePartialRecord(const std::filesystem::path& file, const PartialRecord& record);

#endif  // TOOLS_QVHTTP_PARTIAL_RECORD_H_
