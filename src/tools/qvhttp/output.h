#ifndef TOOLS_QVHTTP_OUTPUT_H_
#define TOOLS_QVHTTP_OUTPUT_H_

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

// Whether a name is that of a file to be replaced or made: not standard output (empty or "-"), and
// no device, pipe or folder.
bool IsReplaceableFile(const std::string& name);

// Where a body goes: standard output, or a file that appears under its name only when it is whole.
// Every member function throws Failure.
class Output {
 public:
  // An empty name or "-" is standard output. A file is written under a temporary name beside it,
  // except where the name is no regular file, such as a device.
  explicit Output(const std::string& name);
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void Write(std::string_view bytes);

  // Flushes, and gives the file its name. Without it, the destructor removes what was written.
  void Finish();

 private:
  void OpenTemporaryFile();
  [[noreturn]] void Fail() const;

  std::filesystem::path target_;     // empty for standard output
  std::filesystem::path temporary_;  // empty when the target is written directly
  std::FILE* file_ = nullptr;        // owned unless it is stdout
};

#endif  // TOOLS_QVHTTP_OUTPUT_H_
