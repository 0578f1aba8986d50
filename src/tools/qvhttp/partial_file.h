#ifndef TOOLS_QVHTTP_PARTIAL_FILE_H_
#define TOOLS_QVHTTP_PARTIAL_FILE_H_

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "partial_record.h"

// A download under way to a file: the bytes that have come are in ".NAME.part" beside it, and what
// they are a part of in ".NAME.part.meta". When whole, the partial file takes the place of the
// target. One process at a time works on it. Every member function throws Failure.
class PartialFile {
 public:
  explicit PartialFile(const std::string& target);
  // Leaves the partial file where it is only when it can be resumed.
  ~PartialFile();
  PartialFile(const PartialFile&) = delete;
  PartialFile& operator=(const PartialFile&) = delete;

  // Opens the partial file of an earlier download of the same URL, to be gone on with. False when
  // there is none, or nothing in it.
  bool OpenExisting(const std::string& url);

  // Starts with nothing. The record is stored before the first byte.
  void Begin(const PartialRecord& record);

  // Stores the record of bytes that somebody else writes into the file, which is empty.
  void Describe(const PartialRecord& record);

  // Takes notice of what somebody else has written.
  void UpdateSize();

  // A name of the open file that holds nothing but letters, digits and "/": it means the same to
  // everybody in this process.
  std::string LibraryName() const { return "/proc/self/fd/" + std::to_string(file_); }

  // Removes all traces of it.
  void Discard();

  void Write(std::string_view bytes);

  // Puts the file in the place of the target.
  void Finish();

  std::uint64_t size() const { return size_; }
  const PartialRecord& record() const { return record_; }

 private:
  bool Open(int flags);
  bool IsStillInPlace() const;
  void Close();
  [[noreturn]] void Fail() const;

  std::filesystem::path target_;
  std::filesystem::path part_;
  std::filesystem::path meta_;
  PartialRecord record_;
  int file_ = -1;  // locked while it is open
  std::uint64_t size_ = 0;
};

#endif  // TOOLS_QVHTTP_PARTIAL_FILE_H_
