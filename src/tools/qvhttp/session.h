#ifndef TOOLS_QVHTTP_SESSION_H_
#define TOOLS_QVHTTP_SESSION_H_

#include <cstdint>
#include <optional>
#include <string>

#include "fields.h"
#include "options.h"
#include "progress.h"
#include "qvhttp12.h"
#include "request.h"
#include "scratch_folder.h"

// One connection to the server of a request's URL, for that request. Every member function throws
// Failure.
class Session {
 public:
  // Connects. Options and progress outlive the session.
  Session(const Options& options, Request request, Progress& progress);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Sends the request and reads the header of the response. Returns the status code, whatever it
  // is.
  int Send();

  // Whether the response was turned down, because it would have been stored in a way that hides a
  // body cut short: the request is to be sent again, without `decodes`.
  bool MustAskPlainly() const { return must_ask_plainly_; }

  // The next bytes of the body as they came over the wire; 0 at the end.
  std::size_t Read(char* buffer, std::size_t capacity);

  // The length that the response announced, if it did.
  std::optional<std::uint64_t> AnnouncedLength() const;

  // Bytes of the body that came over the wire.
  std::uint64_t ReceivedLength() const;

  // Bytes that are missing, at least, of the body of a form's response.
  std::uint64_t MissingLength() const;

  // The body of a form's response.
  const std::string& FormResponse() const { return form_response_; }

  // The fields of the last request or response (HTTP_HEADERS_*), in order.
  HeaderList Headers(DWORD header_type) const;

  std::string ReasonPhrase() const;

  const Request& request() const { return request_; }

  // The file with the body of a request that `decodes`. It goes with the session.
  std::string DecodedFile() const { return (scratch_->path() / kDecodedName).string(); }

 private:
  static constexpr const char* kDecodedName = "body";

  void SetHeaders();
  void SetCredentials();
  void RegisterEvents();
  int Perform();
  int StatusOfFailure();
  void Trace(bool with_response) const;
  static void CALLBACK OnProgress(HCLIENT client, UINT event, DWORD error, DWORD_PTR self);
  static void CALLBACK OnFileOpen(HCLIENT client, UINT event, DWORD error, DWORD_PTR self);

  const Options& options_;
  const Request request_;
  Progress& progress_;
  std::string target_;
  HCLIENT client_ = INVALID_CLIENT;
  std::optional<ScratchFolder> scratch_;  // made when it is needed
  std::string form_response_;
  bool must_ask_plainly_ = false;
};

#endif  // TOOLS_QVHTTP_SESSION_H_
