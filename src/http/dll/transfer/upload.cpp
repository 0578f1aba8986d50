#include <algorithm>
#include <cstdio>
#include <memory>

#include "events/raise_event.h"
#include "frame/library.h"
#include "frame/session.h"
#include "protocol/engine.h"
#include "protocol/headers.h"
#include "protocol/pacer.h"
#include "protocol/session_io.h"
#include "transfer/file_transfer.h"
#include "transfer/local_file.h"
#include "transfer/remote_file.h"
#include "transfer/transfer_scope.h"
#include "transfer/upload_end.h"

namespace qv {
namespace {

constexpr std::size_t kLargePiece = std::size_t{256} << 10;
constexpr std::string_view kDefaultField = "File1";

Error WriteAllOf(Session& session, std::string_view bytes) {
  while (!bytes.empty()) {
    Result<INT> written =
        session.engine->Write(session, bytes.data(), static_cast<INT>(bytes.size()));
    if (!written) return written.error();
    bytes.remove_prefix(static_cast<std::size_t>(*written));
  }
  return kNoError;
}

// Sends a file of the announced size. What it grows by meanwhile is left out; a file that got
// shorter is QV_ERROR_FILE_READ_FAILED.
Error SendFile(Session& session, LocalFile& file, uint64_t size) {
  Pacer pacer(session);
  const std::size_t largest = pacer.pauses() ? kPieceSize : kLargePiece;
  const auto buffer = std::make_unique_for_overwrite<char[]>(largest);
  while (size > 0) {
    const auto wanted = static_cast<std::size_t>(std::min<uint64_t>(size, largest));
    Result<std::size_t> count = file.Read({buffer.get(), wanted});
    if (!count) return count.error();
    if (*count == 0) return QV_ERROR_FILE_READ_FAILED;
    size -= *count;
    if (Error error = WriteAllOf(session, {buffer.get(), *count})) return error;
    if (Error error = pacer.AfterBlock()) return error;
  }
  return pacer.Finish();
}

// The parts of a multipart document with one file (RFC 7578).
struct MultipartFrame {
  std::string boundary;
  std::string head;
  std::string tail;
};

MultipartFrame MakeFrame(const Session& session, std::string_view field, std::string_view name) {
  const DWORD tick = GetTickCount();
  char boundary[64];
  std::snprintf(boundary, sizeof(boundary), "----=_QV%04d_%04lu_%08lX_%08lX", kLibraryVersionBuild,
                static_cast<unsigned long>(session.handle & 0xFFFFFFFF),
                static_cast<unsigned long>(GetTickCount()), static_cast<unsigned long>(tick * 2));
  MultipartFrame frame;
  frame.boundary = boundary;
  frame.head = "--" + frame.boundary + "\r\nContent-Disposition: form-data; name=\"";
  frame.head.append(field).append("\"; filename=\"").append(name);
  frame.head +=
      "\"\r\nContent-Type: application/octet-stream\r\nContent-Transfer-Encoding: 8bit\r\n\r\n";
  frame.tail = "\r\n--" + frame.boundary + "--\r\n";
  return frame;
}

bool FitsHeader(std::string_view text) { return text.find_first_of("\r\n\"") == text.npos; }

Error SendMultipart(Session& session, std::string_view resource, const MultipartFrame& frame,
                    LocalFile& file, uint64_t size) {
  // The boundary is no use to a later request.
  session.request.headers.Set("Content-Type", "multipart/form-data; boundary=" + frame.boundary)
      .lifetime = Lifetime::kNextRequest;
  const uint64_t length = frame.head.size() + size + frame.tail.size();
  Result<INT> result = session.engine->Command(session, {"POST", resource, {}, length});
  if (!result) return result.error();
  if (Error error = WriteAllOf(session, frame.head)) return error;
  session.transfer.content_length = size;
  session.transfer.copied = 0;
  session.transfer.Start();
  if (Error error = SendFile(session, file, size)) return error;
  return WriteAllOf(session, frame.tail);
}

}  // namespace

Result<INT> UploadFromFile(Session& session, std::string_view local, std::string_view remote,
                           DWORD options, uint64_t offset) {
  if (local.empty()) return Error(QV_ERROR_INVALID_FILE_NAME);
  if (remote.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  Result<std::string> path = ResolveLocalName(local);
  if (!path) return path.error();
  if (options != 0) return Error(QV_ERROR_OPTION_NOT_SUPPORTED);
  if (Error error = CheckTransferPossible(session)) return error;
  Result<LocalFile> file = LocalFile::OpenForReading(*path);
  if (!file) return file.error();
  Result<uint64_t> size = file->Size();
  if (!size) return size.error();
  TransferScope transfer(session, HTTP_STATUS_PUTDATA);
  const NoErrorDataScope no_error_data(session);
  RaiseEvent(session, Event::kUpload, kNoError);
  if (Error gone = session.CheckAlive()) return gone;
  Result<INT> result = CreateRemoteFile(session, remote, *size, offset);
  Error error = result.error();
  if (result) error = SendFile(session, *file, *size);
  return FinishUpload(session, transfer, error);
}

Result<INT> PostFromFile(Session& session, std::string_view local, std::string_view resource,
                         std::string_view field, DWORD options, DWORD reserved) {
  if (local.empty()) return Error(QV_ERROR_INVALID_FILE_NAME);
  if (resource.empty()) return Error(QV_ERROR_INVALID_RESOURCE);
  if (options != 0) return Error(QV_ERROR_OPTION_NOT_SUPPORTED);
  if (reserved != 0) return Error(QV_ERROR_INVALID_PARAMETER);
  if (!FitsHeader(local)) return Error(QV_ERROR_INVALID_FILE_NAME);
  if (!FitsHeader(field)) return Error(QV_ERROR_INVALID_PARAMETER);
  if (Error error = CheckTransferPossible(session)) return error;
  Result<LocalFile> file = LocalFile::OpenForReading(std::string(local));
  if (!file) return Error(QV_ERROR_FILE_NOT_FOUND);  // whatever the reason, in this function
  Result<uint64_t> size = file->Size();
  if (!size) return size.error();
  TransferScope transfer(session, HTTP_STATUS_POSTDATA);
  const MultipartFrame frame = MakeFrame(session, field.empty() ? kDefaultField : field, local);
  Result<INT> result =
      FinishUpload(session, transfer, SendMultipart(session, resource, frame, *file, *size));
  if (result) {
    session.transfer.content_length = *size;
    session.transfer.copied = *size;
  }
  return result;
}

}  // namespace qv
