#include "scratch_folder.h"

#include <cstdlib>
#include <string>
#include <system_error>

#include "failure.h"

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder() {
  std::error_code error;
  std::string name = (fs::temp_directory_path(error) / "qvhttp-XXXXXX").string();
  if (error || mkdtemp(name.data()) == nullptr) {
    throw Failure(ExitCode::kFailure, "cannot make a folder for temporary files");
  }
  path_ = name;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}
