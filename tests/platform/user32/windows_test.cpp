#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "platform/module.h"
#include "platform/user32/recording_window.h"

namespace test {
namespace {

LRESULT CALLBACK RefuseEarly(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) {
  return message == WM_NCCREATE ? FALSE : DefWindowProcW(handle, message, wparam, lparam);
}

LRESULT CALLBACK RefuseLate(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) {
  return message == WM_CREATE ? -1 : DefWindowProcW(handle, message, wparam, lparam);
}

ATOM RegisterA(LPCSTR name, WNDPROC procedure = DefWindowProcA) {
  WNDCLASSA record{};
  record.lpfnWndProc = procedure;
  record.lpszClassName = name;
  return RegisterClassA(&record);
}

HWND CreateA(LPCSTR class_name, HWND parent = HWND_MESSAGE) {
  return CreateWindowExA(0, class_name, "", 0, 0, 0, 0, 0, parent, nullptr, nullptr, nullptr);
}

std::vector<UINT> Numbers(const std::vector<Note>& notes) {
  std::vector<UINT> numbers;
  for (const Note& note : notes) numbers.push_back(note.message);
  return numbers;
}

TEST(Windows, LiveFromCreateToNcDestroy) {
  RecordingWindow window;
  const HWND handle = window;
  ASSERT_NE(handle, nullptr);
  EXPECT_TRUE(IsWindow(handle));
  EXPECT_LT(reinterpret_cast<UINT_PTR>(handle), UINT_PTR{1} << 32);
  DWORD process = 0;
  EXPECT_EQ(GetWindowThreadProcessId(handle, &process), GetCurrentThreadId());
  EXPECT_EQ(process, GetCurrentProcessId());
  EXPECT_TRUE(DestroyWindow(handle));
  EXPECT_EQ(Numbers(window.notes()),
            (std::vector<UINT>{WM_NCCREATE, WM_CREATE, WM_DESTROY, WM_NCDESTROY}));

  EXPECT_FALSE(IsWindow(handle));
  const RecordingWindow next;
  EXPECT_NE(static_cast<HWND>(next), handle);
  const struct {
    const char* name;
    LONG_PTR result;
  } kRefused[] = {
      {"destroy", (SetLastError(0), DestroyWindow(handle))},
      {"post", PostMessageW(handle, kMessage, 0, 0)},
      {"send", SendMessageW(handle, kMessage, 0, 0)},
      {"thread", static_cast<LONG_PTR>(GetWindowThreadProcessId(handle, nullptr))},
      {"procedure", GetWindowLongPtrW(handle, GWLP_WNDPROC)},
  };
  for (const auto& each : kRefused) EXPECT_EQ(each.result, 0) << each.name;
  EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
}

TEST(Windows, ClassesHaveNamesAtomsAndWindows) {
  const ATOM atom = RegisterA("Test.Class");
  ASSERT_NE(atom, 0);
  EXPECT_EQ(RegisterA("TEST.class"), 0);
  EXPECT_EQ(GetLastError(), ERROR_CLASS_ALREADY_EXISTS);
  const auto atom_name = reinterpret_cast<LPCSTR>(static_cast<UINT_PTR>(atom));
  for (const LPCSTR name : {"test.CLASS", atom_name}) {
    const HWND window = CreateA(name, name == atom_name ? nullptr : HWND_MESSAGE);
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(UnregisterClassW(u"Test.Class", nullptr));
    EXPECT_EQ(GetLastError(), ERROR_CLASS_HAS_WINDOWS);
    EXPECT_TRUE(DestroyWindow(window));
  }
  EXPECT_TRUE(UnregisterClassW(u"Test.Class", nullptr));
  EXPECT_FALSE(UnregisterClassA("Test.Class", nullptr));
  EXPECT_EQ(GetLastError(), ERROR_CLASS_DOES_NOT_EXIST);
  EXPECT_EQ(CreateA("Test.Class"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_CANNOT_FIND_WND_CLASS);
}

TEST(Windows, BadArgumentsAndRefusalsLeaveNothingBehind) {
  ASSERT_NE(RegisterA("Early", RefuseEarly), 0);
  ASSERT_NE(RegisterA("Late", RefuseLate), 0);
  EXPECT_EQ(CreateA("Early"), nullptr);
  EXPECT_EQ(CreateA("Late"), nullptr);
  const RecordingWindow parent;
  EXPECT_EQ(CreateA("Early", parent), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_NOT_SUPPORTED);
  EXPECT_TRUE(UnregisterClassA("Early", nullptr));  // has no windows
  EXPECT_TRUE(UnregisterClassA("Late", nullptr));

  EXPECT_EQ(RegisterA("", DefWindowProcA), 0);
  EXPECT_EQ(RegisterA("NoProcedure", nullptr), 0);
  EXPECT_EQ(RegisterA(std::string(256, 'x').c_str()), 0);
  EXPECT_EQ(GetWindowLongPtrW(parent, 0), 0);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_INDEX);
  EXPECT_EQ(SetWindowLongPtrW(parent, GWLP_WNDPROC, 0), 0);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

// A subclass adds 100 to every answer and passes on to the procedure that it replaced.
template <int kLevel>
struct Subclass {
  static inline WNDPROC previous;
  static LRESULT CALLBACK Procedure(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) {
    const LRESULT result = CallWindowProcW(previous, handle, message, wparam, lparam);
    return message >= WM_USER ? result + 100 : result;
  }
  static void Attach(HWND window) {
    previous = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Procedure)));
  }
  static void Detach(HWND window) {
    SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(previous));
  }
};

TEST(Windows, SubclassesChainAndUnchain) {
  RecordingWindow window([](const Note& note) { return static_cast<LRESULT>(note.wparam); });
  EXPECT_EQ(SendMessageW(window, kMessage, 7, 0), 7);
  Subclass<1>::Attach(window);
  EXPECT_EQ(Subclass<1>::previous, &RecordingWindow::Procedure);
  Subclass<2>::Attach(window);
  EXPECT_EQ(Subclass<2>::previous, &Subclass<1>::Procedure);
  EXPECT_EQ(SendMessageW(window, kMessage, 7, 0), 207);
  PostMessageW(window, kMessage, 8, 0);
  MSG message;
  ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_FALSE(TranslateMessage(&message));
  EXPECT_EQ(DispatchMessageW(&message), 208);
  Subclass<2>::Detach(window);
  EXPECT_EQ(SendMessageA(window, kMessage, 7, 0), 107);
  Subclass<1>::Detach(window);
  EXPECT_EQ(SendMessageA(window, kMessage, 7, 0), 7);
}

// The last message is the time to take a subclass off; the window still is one then.
TEST(Windows, SubclassCanLeaveInNcDestroy) {
  static WNDPROC previous;
  static bool was_window;
  RecordingWindow window;
  const WNDPROC leaving = [](HWND handle, UINT message, WPARAM wparam, LPARAM lparam) -> LRESULT {
    if (message == WM_NCDESTROY) {
      was_window = IsWindow(handle) != FALSE;
      SetWindowLongPtrW(handle, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(previous));
    }
    if (message == WM_DESTROY) DestroyWindow(handle);  // a second call does no harm
    return CallWindowProcW(previous, handle, message, wparam, lparam);
  };
  previous = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(leaving)));
  SendMessageW(window, WM_CLOSE, 0, 0);
  EXPECT_TRUE(was_window);
  EXPECT_FALSE(IsWindow(window));
  EXPECT_EQ(window.notes().back().message, static_cast<UINT>(WM_NCDESTROY));
}

TEST(Windows, ActiveOneIsTheThreads) {
  EXPECT_EQ(GetActiveWindow(), nullptr);
  const RecordingWindow first;
  EXPECT_EQ(GetActiveWindow(), nullptr);
  {
    const RecordingWindow second;
    EXPECT_EQ(SetActiveWindow(first), nullptr);
    EXPECT_EQ(SetActiveWindow(second), static_cast<HWND>(first));
    std::thread([&] {
      EXPECT_EQ(GetActiveWindow(), nullptr);
      EXPECT_EQ(SetActiveWindow(first), nullptr);
      EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
    }).join();
    EXPECT_EQ(GetActiveWindow(), static_cast<HWND>(second));
  }
  EXPECT_EQ(GetActiveWindow(), nullptr);  // destroyed
}

TEST(Windows, BelongToTheirThread) {
  const RecordingWindow window;
  std::thread([&] {
    EXPECT_FALSE(DestroyWindow(window));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    MSG message;
    EXPECT_FALSE(PeekMessageW(&message, window, 0, 0, PM_REMOVE));
    EXPECT_EQ(GetMessageW(&message, window, 0, 0), -1);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
  }).join();
  EXPECT_TRUE(IsWindow(window));
}

// Also the windows of a thread that was terminated, whose destructors do not run.
TEST(Windows, GoWithTheirThread) {
  static std::atomic<HWND> left_behind;
  const LPTHREAD_START_ROUTINE ends = [](LPVOID) -> DWORD {
    RegisterA("LeftBehind");
    left_behind = CreateA("LeftBehind");
    return 0;
  };
  const LPTHREAD_START_ROUTINE waits = [](LPVOID) -> DWORD {
    left_behind = CreateA("LeftBehind");
    MSG message;
    GetMessageW(&message, nullptr, 0, 0);
    return 0;
  };
  for (const auto start : {ends, waits}) {
    left_behind = nullptr;
    const HANDLE thread = CreateThread(nullptr, 0, start, nullptr, 0, nullptr);
    ASSERT_TRUE(WaitUntil([] { return left_behind.load() != nullptr; }));
    if (start == waits) TerminateThread(thread, 0);
    ASSERT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
    CloseHandle(thread);
    EXPECT_FALSE(IsWindow(left_behind));
    EXPECT_FALSE(PostMessageW(left_behind, kMessage, 0, 0));
  }
  EXPECT_TRUE(UnregisterClassA("LeftBehind", nullptr));
}

TEST(Windows, FunctionsAreFoundByName) {
  const HMODULE module = LoadLibraryA("USER32");
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(GetProcAddress(module, "PeekMessageA"), platform::ExportAddress(&PeekMessageA));
  EXPECT_EQ(GetProcAddress(module, "MessageBoxA"), nullptr);
}

}  // namespace
}  // namespace test
