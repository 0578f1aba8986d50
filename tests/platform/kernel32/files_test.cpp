#include <sys/stat.h>

#include <thread>

#include "platform/kernel32/temp_folder.h"
#include "platform/replace_file.h"

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

class Files : public TempFolderTest {
 protected:
  HANDLE Open(const std::string& name, DWORD access, DWORD disposition, DWORD share = kShareAll,
              DWORD flags = FILE_ATTRIBUTE_NORMAL) const {
    return CreateFileW(NameOf(name).c_str(), access, share, nullptr, disposition, flags, nullptr);
  }
};

TEST_F(Files, DispositionsOnExistingAndMissingFiles) {
  const struct {
    DWORD disposition;
    const char* old_contents;  // null: no file
    DWORD error;               // the last error afterwards
    bool opens;
    const char* contents;
  } cases[] = {
      {CREATE_NEW, nullptr, 0, true, ""},
      {CREATE_NEW, "old", ERROR_FILE_EXISTS, false, "old"},
      {CREATE_ALWAYS, nullptr, 0, true, ""},
      {CREATE_ALWAYS, "old", ERROR_ALREADY_EXISTS, true, ""},
      {OPEN_EXISTING, nullptr, ERROR_FILE_NOT_FOUND, false, ""},
      {OPEN_EXISTING, "old", 0, true, "old"},
      {OPEN_ALWAYS, nullptr, 0, true, ""},
      {OPEN_ALWAYS, "old", ERROR_ALREADY_EXISTS, true, "old"},
      {TRUNCATE_EXISTING, nullptr, ERROR_FILE_NOT_FOUND, false, ""},
      {TRUNCATE_EXISTING, "old", 0, true, ""},
  };
  for (const auto& test : cases) {
    std::filesystem::remove(PathOf("f"));
    if (test.old_contents != nullptr) Write("f", test.old_contents);
    SetLastError(0);
    HANDLE file = Open("f", kReadWrite, test.disposition);
    EXPECT_EQ(GetLastError(), test.error) << test.disposition;
    ASSERT_EQ(file != INVALID_HANDLE_VALUE, test.opens) << test.disposition;
    if (test.opens) {
      EXPECT_TRUE(CloseHandle(file));
    }
    EXPECT_EQ(Read("f"), test.contents) << test.disposition;
  }
}

TEST_F(Files, WriteReadSeekTruncate) {
  HANDLE file = Open("f", kReadWrite, CREATE_NEW, 0, FILE_FLAG_SEQUENTIAL_SCAN);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  DWORD count = 0;
  EXPECT_TRUE(WriteFile(file, "0123456789", 10, &count, nullptr));
  EXPECT_EQ(count, 10u);
  LARGE_INTEGER position = {};
  const auto seek = [&](LONGLONG distance, DWORD method) {
    LARGE_INTEGER move;
    move.QuadPart = distance;
    return SetFilePointerEx(file, move, &position, method);
  };
  EXPECT_TRUE(seek(-4, FILE_END));
  EXPECT_EQ(position.QuadPart, 6);
  char buffer[16] = {};
  EXPECT_TRUE(ReadFile(file, buffer, sizeof(buffer), &count, nullptr));
  EXPECT_EQ(std::string(buffer, count), "6789");
  EXPECT_TRUE(ReadFile(file, buffer, sizeof(buffer), &count, nullptr));
  EXPECT_EQ(count, 0u);  // the end is no failure
  EXPECT_FALSE(seek(-1, FILE_BEGIN));
  EXPECT_EQ(GetLastError(), ERROR_NEGATIVE_SEEK);
  EXPECT_FALSE(seek(0, 3));
  EXPECT_TRUE(seek(3, FILE_BEGIN));
  EXPECT_TRUE(SetEndOfFile(file));
  LARGE_INTEGER size;
  EXPECT_TRUE(GetFileSizeEx(file, &size));
  EXPECT_EQ(size.QuadPart, 3);
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_EQ(Read("f"), "012");
  EXPECT_FALSE(WriteFile(file, "x", 1, &count, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

TEST_F(Files, AccessDecidesWhatAHandleDoes) {
  Write("f", "abc");
  HANDLE reader = Open("f", GENERIC_READ, OPEN_EXISTING);
  HANDLE writer = Open("f", GENERIC_WRITE, OPEN_EXISTING);
  HANDLE neither = Open("f", 0, OPEN_EXISTING);
  char byte = 'x';
  DWORD count = 0;
  EXPECT_FALSE(WriteFile(reader, &byte, 1, &count, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_FALSE(ReadFile(writer, &byte, 1, &count, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_FALSE(ReadFile(neither, &byte, 1, &count, nullptr));
  LARGE_INTEGER size;
  EXPECT_TRUE(GetFileSizeEx(neither, &size));
  EXPECT_EQ(size.QuadPart, 3);
  for (HANDLE file : {reader, writer, neither}) EXPECT_TRUE(CloseHandle(file));
}

TEST_F(Files, ShareModesHoldBetweenHandles) {
  Write("f", "abc");
  const struct {
    DWORD first_access, first_share, second_access, second_share;
    bool opens;
  } cases[] = {
      {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, true},
      {GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, kShareAll, false},
      {GENERIC_WRITE, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, false},
      {GENERIC_WRITE, FILE_SHARE_READ, GENERIC_READ, kShareAll, true},
      {GENERIC_READ, 0, GENERIC_READ, kShareAll, false},
      {GENERIC_READ, 0, 0, 0, true},
  };
  for (const auto& test : cases) {
    HANDLE first = Open("f", test.first_access, OPEN_EXISTING, test.first_share);
    ASSERT_NE(first, INVALID_HANDLE_VALUE);
    const DWORD disposition =
        (test.second_access & GENERIC_WRITE) != 0 ? CREATE_ALWAYS : OPEN_EXISTING;
    HANDLE second = Open("f", test.second_access, disposition, test.second_share);
    EXPECT_EQ(second != INVALID_HANDLE_VALUE, test.opens);
    if (second == INVALID_HANDLE_VALUE) {
      EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
    }
    CloseHandle(second);
    CloseHandle(first);
    EXPECT_EQ(Read("f"), "abc");  // a refused open empties nothing
  }
  HANDLE alone = Open("f", kReadWrite, OPEN_EXISTING, 0);
  EXPECT_NE(alone, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(CloseHandle(alone));
}

TEST_F(Files, NamesThatCannotBeOpened) {
  Write("f", "abc");
  const struct {
    std::u16string name;
    DWORD error;
  } cases[] = {
      {NameOf("missing"), ERROR_FILE_NOT_FOUND},
      {NameOf("missing/x"), ERROR_PATH_NOT_FOUND},
      {NameOf("f/x"), ERROR_PATH_NOT_FOUND},
      {NameOf(""), ERROR_ACCESS_DENIED},
      {u"D:\\f", ERROR_PATH_NOT_FOUND},
      {u"\\\\server\\share\\f", ERROR_PATH_NOT_FOUND},
      {u"", ERROR_PATH_NOT_FOUND},
      {NameOf(std::string(300, 'x')), ERROR_FILENAME_EXCED_RANGE},
      {std::u16string(u"C:\\") + char16_t{0xD800}, ERROR_INVALID_NAME},
  };
  for (const auto& test : cases) {
    SetLastError(0);
    EXPECT_EQ(
        CreateFileW(test.name.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr),
        INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), test.error);
    SetLastError(0);
    EXPECT_FALSE(DeleteFileW(test.name.c_str()));
    EXPECT_EQ(GetLastError(), test.error);
  }
}

TEST_F(Files, NamesInUnicodeAndBothSeparators) {
  Write("\xC3\xBC\xF0\x9F\x98\x80", "abc");
  const std::u16string leaf = u"/\u00FC\U0001F600";
  for (const std::u16string& name : {folder_.u16string() + leaf, u"c:" + folder_.u16string() + leaf,
                                     NameOf("") + leaf, u"\\\\?\\" + NameOf("") + leaf}) {
    EXPECT_EQ(GetFileAttributesW(name.c_str()), FILE_ATTRIBUTE_ARCHIVE);
  }
}

TEST_F(Files, DeviceFullAndPrivateFiles) {
  HANDLE full =
      CreateFileW(u"/dev/full", GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(full, INVALID_HANDLE_VALUE);
  DWORD count = 9;
  EXPECT_FALSE(WriteFile(full, "x", 1, &count, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
  EXPECT_EQ(count, 0u);
  EXPECT_TRUE(CloseHandle(full));
  int descriptor = 0;
  HANDLE owned =
      CreateFileW(NameOf("mine").c_str(), GENERIC_WRITE, 0, &descriptor, CREATE_NEW, 0, nullptr);
  ASSERT_NE(owned, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(CloseHandle(owned));
  struct stat status;
  ASSERT_EQ(stat(PathOf("mine").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0600u);
}

TEST_F(Files, DeleteTakesFilesOnly) {
  Write("f", "abc");
  EXPECT_TRUE(SetFileAttributesW(NameOf("f").c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_FALSE(DeleteFileW(NameOf("f").c_str()));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_EQ(Open("f", GENERIC_WRITE, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(SetFileAttributesW(NameOf("f").c_str(), FILE_ATTRIBUTE_NORMAL));
  EXPECT_TRUE(DeleteFileW(NameOf("f").c_str()));
  EXPECT_FALSE(std::filesystem::exists(PathOf("f")));
}

TEST_F(Files, MoveReplacesOnlyWhenAsked) {
  Write("a", "new");
  Write("b", "old");
  std::filesystem::create_directory(PathOf("d"));
  const auto move = [this](const char* from, const char* to, DWORD flags) {
    SetLastError(0);
    MoveFileExW(NameOf(from).c_str(), NameOf(to).c_str(), flags);
    return GetLastError();
  };
  EXPECT_EQ(move("a", "b", 0), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(move("a", "d", MOVEFILE_REPLACE_EXISTING), ERROR_ACCESS_DENIED);
  EXPECT_EQ(move("a", "gone/b", 0), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(move("gone", "b", MOVEFILE_REPLACE_EXISTING), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Read("b"), "old");
  EXPECT_EQ(move("a", "b", MOVEFILE_REPLACE_EXISTING), 0u);
  EXPECT_EQ(Read("b"), "new");
  EXPECT_EQ(move("b", "c", 0), 0u);
  EXPECT_FALSE(std::filesystem::exists(PathOf("b")));
}

TEST_F(Files, ReplacingKeepsPermissionsAndLinks) {
  Write("new", "new");
  Write("old", "old");
  chmod(PathOf("old").c_str(), 0640);
  std::filesystem::create_symlink("old", PathOf("link"));
  const auto replace = [this](const char* replaced, const char* replacement, DWORD flags = 0) {
    SetLastError(0);
    ReplaceFileW(NameOf(replaced).c_str(), NameOf(replacement).c_str(), nullptr, flags, nullptr,
                 nullptr);
    return GetLastError();
  };
  EXPECT_EQ(replace("old", "new", 1), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(replace("gone", "new"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(replace("old", "gone"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(replace("", "new"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(Read("old"), "old");
  EXPECT_EQ(replace("link", "new"), 0u);
  EXPECT_TRUE(std::filesystem::is_symlink(PathOf("link")));
  EXPECT_EQ(Read("old"), "new");
  struct stat status = {};
  EXPECT_EQ(stat(PathOf("old").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0640u);
  EXPECT_FALSE(std::filesystem::exists(PathOf("new")));
}

TEST_F(Files, CopyKeepsSourceAndTarget) {
  Write("a", std::string(200000, 'x'));
  Write("b", "old");
  const auto copy = [this](const char* from, const char* to, BOOL fail_if_exists) {
    SetLastError(0);
    CopyFileW(NameOf(from).c_str(), NameOf(to).c_str(), fail_if_exists);
    return GetLastError();
  };
  EXPECT_EQ(copy("a", "b", TRUE), ERROR_FILE_EXISTS);
  EXPECT_EQ(copy("gone", "b", FALSE), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(copy("a", "gone/b", FALSE), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(Read("b"), "old");
  std::filesystem::create_symlink(PathOf("a"), PathOf("link"));
  EXPECT_EQ(copy("a", "link", FALSE), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(Read("a").size(), 200000u);
  EXPECT_EQ(copy("a", "b", FALSE), 0u);
  EXPECT_EQ(Read("b"), Read("a"));
  EXPECT_EQ(copy("b", "c", TRUE), 0u);
  EXPECT_EQ(Read("c"), Read("a"));
}

TEST_F(Files, AttributesTellTheKind) {
  Write("f", "");
  EXPECT_EQ(GetFileAttributesW(NameOf("f").c_str()), FILE_ATTRIBUTE_ARCHIVE);
  EXPECT_EQ(GetFileAttributesW(NameOf("").c_str()), FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_EQ(GetFileAttributesW(u"/dev/null"), FILE_ATTRIBUTE_DEVICE);
  ASSERT_EQ(mkfifo(PathOf("pipe").c_str(), 0600), 0);
  EXPECT_EQ(GetFileAttributesW(NameOf("pipe").c_str()), FILE_ATTRIBUTE_DEVICE);
  EXPECT_TRUE(SetFileAttributesW(NameOf("f").c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_EQ(GetFileAttributesW(NameOf("f").c_str()),
            FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(GetFileAttributesW(NameOf("gone").c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

// A pipe gives what it has, without waiting for the whole buffer.
TEST_F(Files, PipeReadIsShort) {
  ASSERT_EQ(mkfifo(PathOf("pipe").c_str(), 0600), 0);
  HANDLE both = Open("pipe", kReadWrite, OPEN_EXISTING);
  ASSERT_NE(both, INVALID_HANDLE_VALUE);
  DWORD count = 0;
  EXPECT_TRUE(WriteFile(both, "abc", 3, &count, nullptr));
  char buffer[100];
  EXPECT_TRUE(ReadFile(both, buffer, sizeof(buffer), &count, nullptr));
  EXPECT_EQ(std::string(buffer, count), "abc");
  EXPECT_TRUE(CloseHandle(both));
}

TEST(FullPathNames, AreResolvedFromTheNameAlone) {
  const std::u16string here = u"C:" + std::filesystem::current_path().u16string();
  std::u16string here_native = here;
  for (char16_t& unit : here_native) {
    if (unit == u'/') unit = u'\\';
  }
  const struct {
    std::u16string name;
    std::u16string full;
  } cases[] = {
      {u"/home/me/x", u"C:\\home\\me\\x"},
      {u"C:\\home\\.\\me\\..\\you//x", u"C:\\home\\you\\x"},
      {u"c:/a/", u"C:\\a\\"},
      {u"\\..\\..\\a", u"C:\\a"},
      {u"/", u"C:\\"},
      {u"x\\y", here_native + u"\\x\\y"},
      {u"C:x", here_native + u"\\x"},
      {u".", here_native},
      {u"D:\\a\\..\\b", u"D:\\b"},
      {u"\\\\server\\share\\.\\x", u"\\\\server\\share\\x"},
      {u"/\u00FC", u"C:\\\u00FC"},
  };
  for (const auto& test : cases) {
    WCHAR path[1024];
    LPWSTR file_part = nullptr;
    const DWORD length = GetFullPathNameW(test.name.c_str(), 1024, path, &file_part);
    EXPECT_EQ(std::u16string(path, length), test.full);
    EXPECT_EQ(GetFullPathNameW(test.name.c_str(), length, path, nullptr), length + 1);
    const std::u16string leaf = test.full.substr(test.full.rfind(u'\\') + 1);
    EXPECT_EQ(file_part == nullptr, leaf.empty());
    if (file_part != nullptr) {
      EXPECT_EQ(std::u16string(file_part), leaf);
    }
  }
  EXPECT_EQ(GetFullPathNameW(u"", 0, nullptr, nullptr), 0u);
}

}  // namespace
