#include "frame/message_table.h"

namespace qv {
namespace {

constexpr DWORD kNoErrorMessage = 0x80042710;  // has a text, but no constant and no caller

constexpr platform::ModuleMessage kMessages[] = {
    {kNoErrorMessage, "No error\r\n"},
#define QV_ERROR_ENTRY(name, code, text) {code, text "\r\n"},
#include "error_codes.def"
#undef QV_ERROR_ENTRY
};

}  // namespace

std::span<const platform::ModuleMessage> MessageTable() { return kMessages; }

}  // namespace qv
