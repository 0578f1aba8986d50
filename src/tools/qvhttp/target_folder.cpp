#include "target_folder.h"

#include <filesystem>
#include <system_error>

#include "failure.h"

void MakeTargetFolder(const std::string& name) {
  std::error_code error;
  std::filesystem::create_directories(name, error);
  if (!std::filesystem::is_directory(name)) {
    throw Failure(ExitCode::kFailure, "-d " + name + ": cannot make the folder");
  }
}
