#include "transfer/retrieve_text.h"

#include <cstring>
#include <limits>
#include <string>

#include "frame/session.h"
#include "frame/text.h"
#include "platform/kernel32.h"
#include "protocol/headers.h"
#include "transfer/charset.h"
#include "url/content_type.h"

namespace qv {
namespace {

constexpr std::string_view kAcceptText =
    "text/*, application/json, application/xhtml+xml, application/xml";
constexpr std::size_t kLongestContentType = 1023;
constexpr INT kLargestCapacity = std::numeric_limits<INT>::max();

Error CheckTextType(const Session& session) {
  const auto type = ResponseField(session, "Content-Type", kLongestContentType);
  const INT content_class = type ? ClassifyContentType(*type) : HTTP_CONTENT_UNKNOWN;
  const bool text = content_class == HTTP_CONTENT_UNKNOWN || content_class == HTTP_CONTENT_TEXT;
  return text ? kNoError : Error(QV_ERROR_INVALID_CONTENT_TYPE);
}

// Where a text goes: a buffer of `capacity` characters, or, with capacity 0, a handle variable.
template <class Char>
class TextOutput {
 public:
  TextOutput(LPVOID target, LPINT length) : target_(target), length_(length), capacity_(*length) {
    *length_ = 0;
    if (capacity_ > 0) {
      *static_cast<Char*>(target_) = 0;
    } else {
      *static_cast<HGLOBAL*>(target_) = nullptr;
    }
  }

  // Copies the text with a terminator, or puts it into a block. QV_ERROR_BUFFER_TOO_SMALL when the
  // buffer has not two characters more than the text.
  Error Deliver(std::basic_string_view<Char> text) {
    if (text.size() > static_cast<std::size_t>(kLargestCapacity)) return QV_ERROR_OUT_OF_MEMORY;
    const std::size_t bytes = text.size() * sizeof(Char);
    if (capacity_ > 0) {
      if (text.size() >= static_cast<std::size_t>(capacity_ - 1)) return QV_ERROR_BUFFER_TOO_SMALL;
      std::memcpy(target_, text.data(), bytes);
      static_cast<Char*>(target_)[text.size()] = 0;
    } else {
      Result<MemoryBlock> block = MemoryBlock::Allocate(bytes + sizeof(Char));
      if (!block) return block.error();
      std::memcpy(block->data(), text.data(), bytes);
      *static_cast<HGLOBAL*>(target_) = block->Release();
    }
    *length_ = static_cast<INT>(text.size());
    return kNoError;
  }

  // The same for a text that is in a block of its own already.
  Error Deliver(MemoryBody body) {
    if (capacity_ > 0) return Deliver(std::basic_string_view<Char>(body.block.data(), body.length));
    if (body.length > static_cast<std::size_t>(kLargestCapacity)) return QV_ERROR_OUT_OF_MEMORY;
    *length_ = static_cast<INT>(body.length);
    *static_cast<HGLOBAL*>(target_) = body.block.Release();
    return kNoError;
  }

 private:
  LPVOID target_;
  LPINT length_;
  INT capacity_;
};

Error CheckOutput(LPVOID target, LPINT length) {
  if (target == nullptr) return QV_ERROR_INVALID_BUFFER;
  if (length == nullptr) return QV_ERROR_INVALID_PARAMETER;
  return *length < 0 ? Error(QV_ERROR_BUFFER_TOO_SMALL) : kNoError;
}

Error CheckRequest(LPCSTR resource, INT capacity) {
  if (TextOf(resource).empty()) return QV_ERROR_INVALID_RESOURCE;
  return capacity == kLargestCapacity ? Error(QV_ERROR_INVALID_PARAMETER) : kNoError;
}

std::string_view TextOfBody(const MemoryBody& body) { return {body.block.data(), body.length}; }

}  // namespace

Result<RetrievedData> RetrieveText(Session& session, std::string_view resource, DWORD options) {
  if (Error error = SetRequestHeader(session, "Accept", kAcceptText)) return error;
  return Retrieve(session, resource, options | HTTP_TRANSFER_CONVERT);
}

Result<INT> GetTextEx(Session& session, LPCSTR resource, LPVOID target, LPINT length,
                      UINT code_page, DWORD options) {
  if (Error error = CheckOutput(target, length)) return error;
  if (code_page == CP_ACP || code_page == CP_THREAD_ACP) code_page = GetACP();
  if (!IsValidCodePage(code_page)) return Error(QV_ERROR_INVALID_CODEPAGE);
  if (Error error = CheckRequest(resource, *length)) return error;
  TextOutput<char> output(target, length);
  Result<RetrievedData> data = RetrieveText(session, resource, options);
  if (!data) return data.error();
  if (Error error = CheckTextType(session)) return error;
  if (data->body.length == 0) return data->result_code;
  const std::optional<UINT> detected = DetectCodePage(TextOfBody(data->body));
  if (!detected) return Error(QV_ERROR_UNKNOWN_CONTENT_TYPE);
  if (*detected == code_page) {
    if (Error error = output.Deliver(std::move(data->body))) return error;
    return data->result_code;
  }
  Result<std::u16string> wide = WideFromCodePage(TextOfBody(data->body), *detected);
  if (!wide) return wide.error();
  Result<std::string> text = CodePageFromWide(*wide, code_page);
  if (!text) return text.error();
  if (Error error = output.Deliver(std::string_view(*text))) return error;
  return data->result_code;
}

Result<INT> GetTextExWide(Session& session, LPCSTR resource, LPVOID target, LPINT length,
                          UINT code_page, DWORD options) {
  if (Error error = CheckOutput(target, length)) return error;
  if (code_page != CP_ACP && code_page != CP_UTF8) return Error(QV_ERROR_INVALID_CODEPAGE);
  if (Error error = CheckRequest(resource, *length)) return error;
  TextOutput<WCHAR> output(target, length);
  Result<RetrievedData> data = RetrieveText(session, resource, options);
  if (!data) return data.error();
  if (Error error = CheckTextType(session)) return error;
  if (data->body.length == 0) return data->result_code;
  const std::optional<UINT> detected = DetectCodePage(TextOfBody(data->body));
  if (!detected) return Error(QV_ERROR_INVALID_CHARSET);
  Result<std::u16string> wide = WideFromCodePage(TextOfBody(data->body), *detected);
  if (!wide) return wide.error();
  if (Error error = output.Deliver(std::u16string_view(*wide))) return error;
  return data->result_code;
}

}  // namespace qv
