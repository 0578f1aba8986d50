#include "curl_client.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "workload.h"

namespace bench {
namespace {

constexpr long kReceiveBuffer = 512 * 1024;  // the largest that libcurl takes
constexpr long kUploadBuffer = 2 * 1024 * 1024;

void Perform(CURL* handle) {
  const CURLcode result = curl_easy_perform(handle);
  if (result != CURLE_OK) {
    throw std::runtime_error(std::string("libcurl: ") + curl_easy_strerror(result));
  }
}

// The buffer of the default form.
std::size_t AppendToString(char* data, std::size_t unit, std::size_t count, void* target) {
  static_cast<std::string*>(target)->append(data, unit * count);
  return unit * count;
}

// The buffer of the tuned form: realloc moves large blocks without a copy.
struct GrowingBlock {
  char* data = nullptr;
  std::size_t size = 0;
  std::size_t capacity = 0;

  GrowingBlock() = default;
  ~GrowingBlock() { std::free(data); }
  GrowingBlock(const GrowingBlock&) = delete;
  GrowingBlock& operator=(const GrowingBlock&) = delete;
};

std::size_t AppendToBlock(char* data, std::size_t unit, std::size_t count, void* target) {
  auto& block = *static_cast<GrowingBlock*>(target);
  const std::size_t added = unit * count;
  if (block.size + added > block.capacity) {
    const std::size_t capacity = (block.size + added) * 2;
    auto* const grown = static_cast<char*>(std::realloc(block.data, capacity));
    if (grown == nullptr) return 0;
    block.data = grown;
    block.capacity = capacity;
  }
  std::memcpy(block.data + block.size, data, added);
  block.size += added;
  return added;
}

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<FILE, CloseFile>;

OpenFile Open(const std::string& name, const char* mode) {
  OpenFile file(std::fopen(name.c_str(), mode));
  if (!file) throw std::runtime_error("libcurl: cannot open the file");
  return file;
}

curl_off_t SizeOf(FILE* file) {
  std::fseek(file, 0, SEEK_END);
  const long size = std::ftell(file);
  std::rewind(file);
  return size;
}

}  // namespace

CurlClient::CurlClient(const Endpoint& endpoint, CurlForm form)
    : form_(form),
      base_((endpoint.secure() ? "https://127.0.0.1:" : "http://127.0.0.1:") +
            std::to_string(endpoint.port)),
      authority_(endpoint.authority),
      kept_(NewHandle()),
      no_expect_(curl_slist_append(nullptr, "Expect:")) {}

CurlHandle CurlClient::NewHandle() const {
  CurlHandle handle(curl_easy_init());
  if (!handle) throw std::runtime_error("libcurl: no handle");
  return handle;
}

bool CurlClient::Prepare(const char* kind, const char* resource) {
  const std::string request = std::string(kind) + " " + resource;
  if (request == last_) {
    if (!tuned()) curl_easy_setopt(kept_.get(), CURLOPT_URL, (base_ + resource).c_str());
    return false;
  }
  last_ = request;
  curl_easy_reset(kept_.get());
  SetCommonOptions(kept_.get(), resource);
  return true;
}

void CurlClient::SetCommonOptions(CURL* handle, const char* resource) const {
  curl_easy_setopt(handle, CURLOPT_URL, (base_ + resource).c_str());
  if (!authority_.empty()) {
    curl_easy_setopt(handle, CURLOPT_CAINFO, authority_.c_str());
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
  }
  if (!tuned()) return;
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle, CURLOPT_BUFFERSIZE, kReceiveBuffer);
  curl_easy_setopt(handle, CURLOPT_UPLOAD_BUFFERSIZE, kUploadBuffer);
}

void CurlClient::Fetch(CURL* handle, std::size_t size) const {
  std::size_t length = 0;
  if (tuned()) {
    GrowingBlock body;
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, AppendToBlock);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
    Perform(handle);
    length = body.size;
  } else {
    std::string body;
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, AppendToString);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
    Perform(handle);
    length = body.size();
  }
  if (length != size) throw std::runtime_error("libcurl: length");
}

void CurlClient::Get(const char* resource, std::size_t size) {
  Prepare("get", resource);
  Fetch(kept_.get(), size);
}

void CurlClient::GetDecoded(const char* resource, std::size_t size) {
  if (Prepare("decoded", resource)) {
    curl_easy_setopt(kept_.get(), CURLOPT_ACCEPT_ENCODING, "gzip");
  }
  Fetch(kept_.get(), size);
}

void CurlClient::GetToFile(const char* resource, const std::string& file) {
  const OpenFile target = Open(file, "wb");
  Prepare("file", resource);
  curl_easy_setopt(kept_.get(), CURLOPT_WRITEDATA, target.get());  // fwrite is the default function
  Perform(kept_.get());
}

void CurlClient::PutFromFile(const char* resource, const std::string& file) {
  const OpenFile source = Open(file, "rb");
  if (Prepare("put", resource)) {
    curl_easy_setopt(kept_.get(), CURLOPT_UPLOAD, 1L);
    if (tuned()) curl_easy_setopt(kept_.get(), CURLOPT_HTTPHEADER, no_expect_.get());
  }
  curl_easy_setopt(kept_.get(), CURLOPT_READDATA, source.get());
  curl_easy_setopt(kept_.get(), CURLOPT_INFILESIZE_LARGE, SizeOf(source.get()));
  Perform(kept_.get());
}

void CurlClient::GetOnce(const char* resource, std::size_t size) {
  if (tuned()) {
    if (Prepare("once", resource)) {
      curl_easy_setopt(kept_.get(), CURLOPT_FRESH_CONNECT, 1L);
      curl_easy_setopt(kept_.get(), CURLOPT_FORBID_REUSE, 1L);
    }
    return Fetch(kept_.get(), size);
  }
  const CurlHandle handle = NewHandle();
  SetCommonOptions(handle.get(), resource);
  Fetch(handle.get(), size);
}

}  // namespace bench
