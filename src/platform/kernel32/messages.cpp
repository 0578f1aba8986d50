// Texts of error numbers: from a module's message table and the platform's own.
#include <cstring>
#include <iterator>

#include "kernel32/module_paths.h"
#include "platform/module.h"

namespace {

using platform::ModuleMessage;

constexpr ModuleMessage kSystemMessages[] = {
    {ERROR_SUCCESS, "The operation completed successfully.\r\n"},
    {ERROR_INVALID_FUNCTION, "Incorrect function.\r\n"},
    {ERROR_FILE_NOT_FOUND, "The file was not found.\r\n"},
    {ERROR_PATH_NOT_FOUND, "The path was not found.\r\n"},
    {ERROR_TOO_MANY_OPEN_FILES, "Too many files are open.\r\n"},
    {ERROR_ACCESS_DENIED, "Access is denied.\r\n"},
    {ERROR_INVALID_HANDLE, "The handle is invalid.\r\n"},
    {ERROR_NOT_ENOUGH_MEMORY, "There is not enough memory for this operation.\r\n"},
    {ERROR_NOT_SAME_DEVICE, "The file cannot be moved to a different file system.\r\n"},
    {ERROR_WRITE_PROTECT, "The medium is write protected.\r\n"},
    {ERROR_GEN_FAILURE, "A device or the system is not functioning.\r\n"},
    {ERROR_SHARING_VIOLATION, "The file is in use and not shared for this access.\r\n"},
    {ERROR_NOT_SUPPORTED, "The request is not supported.\r\n"},
    {ERROR_FILE_EXISTS, "The file exists.\r\n"},
    {ERROR_INVALID_PARAMETER, "The parameter is incorrect.\r\n"},
    {ERROR_BROKEN_PIPE, "The pipe has been ended.\r\n"},
    {ERROR_DISK_FULL, "There is not enough space on the disk.\r\n"},
    {ERROR_INSUFFICIENT_BUFFER, "The buffer is too small for the data.\r\n"},
    {ERROR_INVALID_NAME, "The name is not valid.\r\n"},
    {ERROR_MOD_NOT_FOUND, "The module was not found.\r\n"},
    {ERROR_PROC_NOT_FOUND, "The function was not found in the module.\r\n"},
    {ERROR_NEGATIVE_SEEK, "The file position would lie before the beginning of the file.\r\n"},
    {ERROR_NOT_LOCKED, "The block is not locked.\r\n"},
    {ERROR_ALREADY_EXISTS, "The file already exists.\r\n"},
    {ERROR_FILENAME_EXCED_RANGE, "The file name is too long.\r\n"},
    {ERROR_MORE_DATA, "More data is available.\r\n"},
    {WAIT_TIMEOUT, "The wait timed out.\r\n"},
    {ERROR_DIRECTORY, "The directory name is invalid.\r\n"},
    {ERROR_MR_MID_NOT_FOUND, "There is no text for this message number.\r\n"},
    {ERROR_INVALID_FLAGS, "The flags are invalid.\r\n"},
    {ERROR_NO_UNICODE_TRANSLATION, "A character has no counterpart in the code page.\r\n"},
    {ERROR_POSSIBLE_DEADLOCK, "The operation could block for ever.\r\n"},
};

LPCSTR FindIn(const ModuleMessage* messages, SIZE_T count, DWORD id) {
  for (const ModuleMessage* message = messages; message != messages + count; ++message) {
    if (message->id == id) return message->text;
  }
  return nullptr;
}

LPCSTR FindText(DWORD flags, LPCVOID source, DWORD id) {
  if ((flags & FORMAT_MESSAGE_FROM_HMODULE) != 0) {
    const auto* module = platform::ModuleFromHandle(const_cast<LPVOID>(source));
    const LPCSTR text =
        module != nullptr ? FindIn(module->messages, module->message_count, id) : nullptr;
    if (text != nullptr) return text;
  }
  if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0) return nullptr;
  return FindIn(kSystemMessages, std::size(kSystemMessages), id);
}

DWORD FailWith(DWORD error) {
  SetLastError(error);
  return 0;
}

}  // namespace

DWORD WINAPI FormatMessageA(DWORD flags, LPCVOID source, DWORD message_id, DWORD, LPSTR buffer,
                            DWORD capacity, LPVOID) noexcept {
  constexpr DWORD kSources = FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM;
  constexpr DWORD kLineWidth = 0xFF;  // FORMAT_MESSAGE_MAX_WIDTH_MASK: texts are not rewrapped
  if ((flags & FORMAT_MESSAGE_IGNORE_INSERTS) == 0 || (flags & kSources) == 0 ||
      (flags & ~(kSources | FORMAT_MESSAGE_IGNORE_INSERTS | kLineWidth)) != 0 ||
      buffer == nullptr) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  const LPCSTR text = FindText(flags, source, message_id);
  if (text == nullptr) return FailWith(ERROR_MR_MID_NOT_FOUND);
  const size_t length = std::strlen(text);
  if (length >= capacity) return FailWith(ERROR_INSUFFICIENT_BUFFER);
  std::memcpy(buffer, text, length + 1);
  return static_cast<DWORD>(length);
}
