#ifndef TOOLS_QVHTTP_SCRATCH_FOLDER_H_
#define TOOLS_QVHTTP_SCRATCH_FOLDER_H_

#include <filesystem>

// A new folder that nobody else can enter, in the system's folder for temporary files. It goes,
// with what is in it, when the object does.
class ScratchFolder {
 public:
  ScratchFolder();  // throws Failure
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

#endif  // TOOLS_QVHTTP_SCRATCH_FOLDER_H_
