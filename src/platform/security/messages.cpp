// Messages of an established session, encrypted and decrypted where they lie.
#include <array>

#include "security/handles.h"
#include "security/provider.h"
#include "security/record.h"

namespace platform::security {
namespace {

// The places of a message's parts: header, data, trailer and one more.
constexpr std::array<ULONG, 4> kEncryptTypes = {SECBUFFER_STREAM_HEADER, SECBUFFER_DATA,
                                                SECBUFFER_STREAM_TRAILER, SECBUFFER_EMPTY};
constexpr std::array<ULONG, 4> kDecryptTypes = {SECBUFFER_DATA, SECBUFFER_EMPTY, SECBUFFER_EMPTY,
                                                SECBUFFER_EMPTY};

bool HasTypes(const SecBufferDesc* message, const std::array<ULONG, 4>& types) noexcept {
  if (message == nullptr || message->cBuffers < types.size()) return false;
  for (std::size_t i = 0; i < types.size(); ++i) {
    if (message->pBuffers[i].BufferType != types[i]) return false;
  }
  return true;
}

BufferBio::Place PlaceOf(const SecBuffer& buffer) noexcept {
  return {static_cast<BYTE*>(buffer.pvBuffer), buffer.cbBuffer};
}

SecBuffer Part(std::span<BYTE> bytes, ULONG type) noexcept {
  return {static_cast<ULONG>(bytes.size()), type, bytes.data()};
}

// The record that the next decryption is about: what is no record is looked at as a whole.
std::span<BYTE> FirstRecord(std::span<BYTE> input, const FrameCheck& frame) noexcept {
  return frame.frame == Frame::kWhole ? input.first(frame.size) : input;
}

}  // namespace

SECURITY_STATUS WINAPI EncryptMessage(PCtxtHandle context, ULONG /*quality*/,
                                      PSecBufferDesc message, ULONG /*sequence*/) noexcept {
  return Guarded([&] {
    TlsContext* const running = FromHandle<TlsContext>(context);
    if (running == nullptr) return SEC_E_INVALID_HANDLE;
    if (!HasTypes(message, kEncryptTypes)) return SEC_E_INVALID_TOKEN;
    SecBuffer* const buffers = message->pBuffers;
    std::array places = {PlaceOf(buffers[0]), PlaceOf(buffers[1]), PlaceOf(buffers[2])};
    const SECURITY_STATUS status = running->Encrypt({places[1].begin, places[1].capacity}, places);
    if (status != SEC_E_OK) return status;
    for (std::size_t i = 0; i < places.size(); ++i) {
      buffers[i].cbBuffer = static_cast<ULONG>(places[i].filled);
    }
    return SEC_E_OK;
  });
}

SECURITY_STATUS WINAPI DecryptMessage(PCtxtHandle context, PSecBufferDesc message,
                                      ULONG /*sequence*/, ULONG* quality) noexcept {
  return Guarded([&] {
    TlsContext* const running = FromHandle<TlsContext>(context);
    if (running == nullptr) return SEC_E_INVALID_HANDLE;
    if (!HasTypes(message, kDecryptTypes)) return SEC_E_INVALID_TOKEN;
    SecBuffer* const buffers = message->pBuffers;
    const std::span<BYTE> input(static_cast<BYTE*>(buffers[0].pvBuffer), buffers[0].cbBuffer);
    const FrameCheck frame = CheckFrame(input);
    if (frame.frame == Frame::kPartial) {
      buffers[0] = {static_cast<ULONG>(frame.size), SECBUFFER_MISSING, nullptr};
      return SEC_E_INCOMPLETE_MESSAGE;
    }
    const std::span<BYTE> record = FirstRecord(input, frame);
    std::size_t size = 0;
    const SECURITY_STATUS status = running->Decrypt(record, size);
    if (status != SEC_E_OK && status != SEC_I_RENEGOTIATE) return status;
    const std::span<BYTE> rest = input.subspan(record.size());
    buffers[0] = Part(record.first(kRecordHeader), SECBUFFER_STREAM_HEADER);
    buffers[1] = Part(record.subspan(kRecordHeader, size), SECBUFFER_DATA);
    buffers[2] = Part(record.subspan(kRecordHeader + size), SECBUFFER_STREAM_TRAILER);
    if (!rest.empty()) buffers[3] = Part(rest, SECBUFFER_EXTRA);
    if (quality != nullptr) *quality = 0;
    return status;
  });
}

}  // namespace platform::security
