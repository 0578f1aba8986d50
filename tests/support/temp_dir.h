// A folder for one test, removed with everything in it.
#ifndef SUPPORT_TEMP_DIR_H_
#define SUPPORT_TEMP_DIR_H_

#include <filesystem>
#include <string>
#include <string_view>

namespace test {

// The content of a file, "" when there is none.
std::string ReadFile(const std::filesystem::path& path);

// Creates or replaces a file, and the folders it is in. Throws std::runtime_error.
void WriteFile(const std::filesystem::path& path, std::string_view content);

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string file(std::string_view name) const { return (path_ / name).string(); }
  std::string Read(std::string_view name) const { return ReadFile(path_ / name); }
  std::string Write(std::string_view name, std::string_view content) const {
    WriteFile(path_ / name, content);
    return file(name);
  }

 private:
  std::filesystem::path path_;
};

}  // namespace test

#endif  // SUPPORT_TEMP_DIR_H_
