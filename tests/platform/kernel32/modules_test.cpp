#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <string>

#include "platform/module.h"
#include "platform/ntdll.h"

namespace {

int attach_calls = 0;
int detach_calls = 0;
HMODULE last_module = nullptr;

BOOL WINAPI RecordCall(HMODULE module, DWORD reason, LPVOID) {
  ++(reason == platform::DLL_PROCESS_ATTACH ? attach_calls : detach_calls);
  last_module = module;
  return TRUE;
}

int WINAPI Answer() { return 42; }

const platform::ModuleExport kExports[] = {{"Answer", platform::ExportAddress(&Answer)}};
constexpr DWORD kOwnMessage = 0x80040001;
const platform::ModuleMessage kMessages[] = {
    {kOwnMessage, "A text of the module\r\n"},
    {ERROR_ACCESS_DENIED, "The module's own words\r\n"},
};
const platform::Module kModule = {"Sample.dll",         kExports,  std::size(kExports), kMessages,
                                  std::size(kMessages), RecordCall};

class Modules : public ::testing::Test {
 protected:
  void SetUp() override {
    attach_calls = detach_calls = 0;
    platform::AttachModule(kModule);
  }
  void TearDown() override {
    platform::DetachModule(kModule);
    platform::testing::Restore();
  }
};

TEST_F(Modules, AreFoundByNameInManyForms) {
  HMODULE module = LoadLibraryA("sample.dll");
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(module, static_cast<const void*>(&kModule));
  for (LPCSTR name : {"Sample", "SAMPLE.DLL", "C:\\Windows\\System32\\sample.dll", "/x/Sample"}) {
    EXPECT_EQ(LoadLibraryA(name), module) << name;
    EXPECT_EQ(GetModuleHandleA(name), module) << name;
  }
  for (LPCSTR name : {"", "nowhere.dll", "sample.dll.dll", "platform", "sampl", "../sample/"}) {
    SetLastError(0);
    EXPECT_EQ(LoadLibraryA(name), nullptr) << name;
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND) << name;
  }
  EXPECT_EQ(LoadLibraryA(nullptr), nullptr);
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_EQ(GetModuleHandleA("sample"), module);
}

TEST_F(Modules, GiveTheirFunctions) {
  HMODULE module = GetModuleHandleA("sample");
  const FARPROC found = GetProcAddress(module, "Answer");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(reinterpret_cast<int (*)()>(reinterpret_cast<void (*)()>(found))(), 42);
  EXPECT_EQ(GetProcAddress(module, "answer"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
  EXPECT_EQ(GetProcAddress(module, nullptr), nullptr);
  EXPECT_EQ(GetProcAddress(GetModuleHandleA(nullptr), "Answer"), nullptr);
  int local = 0;
  EXPECT_EQ(GetProcAddress(&local, "Answer"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

TEST_F(Modules, AreToldOfAttachAndDetachOnce) {
  EXPECT_EQ(attach_calls, 1);
  EXPECT_EQ(last_module, static_cast<const void*>(&kModule));
  platform::AttachModule(kModule);
  EXPECT_EQ(attach_calls, 1);
  platform::DetachModule(kModule);
  EXPECT_EQ(detach_calls, 1);
  EXPECT_EQ(GetModuleHandleA("sample"), nullptr);
  platform::DetachModule(kModule);
  EXPECT_EQ(detach_calls, 1);
}

TEST_F(Modules, CanBeHiddenWholeAndInPart) {
  HMODULE module = LoadLibraryA("sample");
  platform::testing::HideFunction("SAMPLE", "ANSWER");
  EXPECT_EQ(GetProcAddress(module, "Answer"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
  platform::testing::HideModule("Sample.DLL");
  EXPECT_EQ(LoadLibraryA("sample.dll"), nullptr);
  EXPECT_EQ(GetModuleHandleA("sample.dll"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
  platform::testing::Restore();
  EXPECT_EQ(LoadLibraryA("sample.dll"), module);
  EXPECT_NE(GetProcAddress(module, "Answer"), nullptr);
}

TEST_F(Modules, SharedObjectIsOpenedWhenAskedFor) {
  HMODULE module = LoadLibraryA("NORMALIZ.DLL");
  ASSERT_NE(module, nullptr);
  EXPECT_NE(GetProcAddress(module, "IdnToAscii"), nullptr);
  EXPECT_EQ(GetModuleHandleA("normaliz"), module);
  EXPECT_EQ(LoadLibraryA("normaliz"), module);
  char path[1024];
  const DWORD length = GetModuleFileNameA(module, path, sizeof(path));
  ASSERT_GT(length, 0u);
  EXPECT_NE(std::string(path, length).find("libqvnormaliz"), std::string::npos);
}

TEST_F(Modules, BuiltinModulesAreThere) {
  HMODULE kernel = GetModuleHandleA("kernel32.dll");
  ASSERT_NE(kernel, nullptr);
  EXPECT_NE(GetProcAddress(kernel, "GetVersionExA"), nullptr);
  EXPECT_EQ(GetProcAddress(kernel, "IsWow64Process"), nullptr);
  HMODULE ntdll = GetModuleHandleA("ntdll.dll");
  const FARPROC found = GetProcAddress(ntdll, "RtlGetVersion");
  ASSERT_NE(found, nullptr);
  const auto get_version = reinterpret_cast<RtlGetVersionFn>(reinterpret_cast<void (*)()>(found));
  OSVERSIONINFOEXW version = {};
  version.dwOSVersionInfoSize = sizeof(version);
  version.szCSDVersion[0] = u'x';
  EXPECT_EQ(get_version(&version), 0);
  EXPECT_EQ(version.dwMajorVersion, 10u);
  EXPECT_EQ(version.dwMinorVersion, 0u);
  EXPECT_EQ(version.dwBuildNumber, 19045u);
  EXPECT_EQ(version.dwPlatformId, VER_PLATFORM_WIN32_NT);
  EXPECT_EQ(version.szCSDVersion[0], 0);
  version.dwOSVersionInfoSize = 12;
  EXPECT_NE(get_version(&version), 0);
}

TEST_F(Modules, ExecutablePathIsCutWhenItDoesNotFit) {
  char path[4096];
  const DWORD length = GetModuleFileNameA(nullptr, path, sizeof(path));
  ASSERT_GT(length, 4u);
  EXPECT_EQ(std::strlen(path), length);
  EXPECT_EQ(path[0], '/');
  char small[4];
  EXPECT_EQ(GetModuleFileNameA(GetModuleHandleA(nullptr), small, sizeof(small)), sizeof(small));
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(std::string(small), std::string(path, 3));
}

TEST_F(Modules, MessagesComeFromTheModuleThenTheSystem) {
  HMODULE module = GetModuleHandleA("sample");
  constexpr DWORD kBoth = FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM;
  const struct {
    DWORD source;
    DWORD id;
    DWORD capacity;
    const char* text;  // null: fails
    DWORD error;
  } cases[] = {
      {FORMAT_MESSAGE_FROM_HMODULE, kOwnMessage, 100, "A text of the module\r\n", 0},
      {FORMAT_MESSAGE_FROM_HMODULE, kOwnMessage, 23, "A text of the module\r\n", 0},
      {FORMAT_MESSAGE_FROM_HMODULE, kOwnMessage, 22, nullptr, ERROR_INSUFFICIENT_BUFFER},
      {FORMAT_MESSAGE_FROM_HMODULE, kOwnMessage, 0, nullptr, ERROR_INSUFFICIENT_BUFFER},
      {FORMAT_MESSAGE_FROM_SYSTEM, kOwnMessage, 100, nullptr, ERROR_MR_MID_NOT_FOUND},
      {kBoth, ERROR_ACCESS_DENIED, 100, "The module's own words\r\n", 0},
      {FORMAT_MESSAGE_FROM_SYSTEM, ERROR_ACCESS_DENIED, 100, "Access is denied.\r\n", 0},
      {kBoth, ERROR_INVALID_HANDLE, 100, "The handle is invalid.\r\n", 0},
      {FORMAT_MESSAGE_FROM_HMODULE, ERROR_INVALID_HANDLE, 100, nullptr, ERROR_MR_MID_NOT_FOUND},
  };
  for (const auto& test : cases) {
    char text[100] = "";
    SetLastError(0);
    const DWORD length = FormatMessageA(test.source | FORMAT_MESSAGE_IGNORE_INSERTS, module,
                                        test.id, 0, text, test.capacity, nullptr);
    EXPECT_EQ(length, test.text != nullptr ? std::strlen(test.text) : 0) << test.id;
    EXPECT_STREQ(text, test.text != nullptr ? test.text : "");
    EXPECT_EQ(GetLastError(), test.error) << test.id;
  }
  char text[100];
  EXPECT_EQ(FormatMessageA(kBoth, module, kOwnMessage, 0, text, 100, nullptr), 0u);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

}  // namespace
