// A folder of its own for a test, and file names in the platform's form.
#ifndef TESTS_PLATFORM_KERNEL32_TEMP_FOLDER_H_
#define TESTS_PLATFORM_KERNEL32_TEMP_FOLDER_H_

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/kernel32.h"

class TempFolderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "layer-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  std::filesystem::path PathOf(const std::string& name) const { return folder_ / name; }

  // The name as an application of the platform writes it.
  std::u16string NameOf(const std::string& name) const {
    std::u16string wide = u"C:" + PathOf(name).u16string();
    for (char16_t& unit : wide) {
      if (unit == u'/') unit = u'\\';
    }
    return wide;
  }

  void Write(const std::string& name, const std::string& contents) const {
    std::ofstream(PathOf(name), std::ios::binary) << contents;
  }

  std::string Read(const std::string& name) const {
    std::ifstream file(PathOf(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  std::filesystem::path folder_;
};

#endif  // TESTS_PLATFORM_KERNEL32_TEMP_FOLDER_H_
