#include "library_client.h"

#include <stdexcept>

namespace bench {
namespace {

[[noreturn]] void Fail(const char* what) {
  char text[128] = "";
  HttpGetErrorStringA(0, text, static_cast<INT>(sizeof(text)));
  throw std::runtime_error(std::string(what) + ": " + text);
}

}  // namespace

LibrarySession::LibrarySession(const Endpoint& endpoint, DWORD options)
    : handle_(HttpConnectA("127.0.0.1", endpoint.port, 0,
                           endpoint.secure() ? options | HTTP_OPTION_SECURE : options, 0,
                           nullptr)) {
  if (handle_ == INVALID_CLIENT) Fail("HttpConnect");
}

LibrarySession::~LibrarySession() { HttpDisconnect(handle_); }

void LibrarySession::Get(const char* resource, std::size_t size, DWORD options) {
  HGLOBAL block = nullptr;
  DWORD length = 0;
  if (HttpGetDataA(handle_, resource, &block, &length, options) == HTTP_ERROR) Fail("HttpGetData");
  GlobalFree(block);
  if (length != size) throw std::runtime_error("HttpGetData: length");
}

LibrarySession& LibraryClient::Kept() {
  if (!kept_) kept_ = std::make_unique<LibrarySession>(endpoint_, HTTP_OPTION_KEEPALIVE);
  return *kept_;
}

void LibraryClient::Get(const char* resource, std::size_t size) { Kept().Get(resource, size); }

void LibraryClient::GetDecoded(const char* resource, std::size_t size) {
  Kept().Get(resource, size, HTTP_TRANSFER_COMPRESS);
}

void LibraryClient::GetToFile(const char* resource, const std::string& file) {
  if (HttpGetFileA(Kept().handle(), file.c_str(), resource, 0, 0) == HTTP_ERROR) {
    Fail("HttpGetFile");
  }
}

void LibraryClient::PutFromFile(const char* resource, const std::string& file) {
  if (HttpPutFileA(Kept().handle(), file.c_str(), resource, 0, 0) == HTTP_ERROR) {
    Fail("HttpPutFile");
  }
}

void LibraryClient::GetOnce(const char* resource, std::size_t size) {
  LibrarySession session(endpoint_, HTTP_OPTION_NONE);
  session.Get(resource, size);
}

}  // namespace bench
