#ifndef TOOLS_QVHTTP_BACKGROUND_DOWNLOAD_H_
#define TOOLS_QVHTTP_BACKGROUND_DOWNLOAD_H_

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "exit_codes.h"
#include "options.h"
#include "partial_file.h"
#include "qvhttp12.h"
#include "url_parts.h"

// What became of a download.
struct Outcome {
  ExitCode code = ExitCode::kSuccess;
  std::string sentence;     // why it failed
  std::uint64_t bytes = 0;  // of the file
};

// A download of a URL into a file of which a thread of the library carries out the part that takes
// time, where all goes well. What is beyond that (redirects, bodies with a coding, partial files of
// earlier runs) is done by FetchHere. It outlives the last callback of the library's thread.
class BackgroundDownload {
 public:
  // `url` is one, and options outlive the object.
  BackgroundDownload(const Options& options, std::string url, std::filesystem::path target)
      : options_(options), url_(std::move(url)), target_(std::move(target)) {}

  const std::string& url() const { return url_; }
  // As the library takes it.
  std::string RequestedUrl() const { return RequestUrl(url_); }
  // As it can be shown: without user name and password.
  std::string ShownUrl() const;
  std::string ShownName() const;
  const std::filesystem::path& target() const { return target_; }

  // ---- In the thread of the command ---------------------------------------------------------

  // Locks the file that the bytes go to, and empties it. Throws Failure.
  void Prepare();

  // The name of that file for the library.
  std::string LocalName() const { return partial_->LibraryName(); }

  // Takes the end of the library's part: its error, bytes that have come, and bytes that were
  // announced. Nothing when the download is to be done by FetchHere.
  std::optional<Outcome> Conclude(DWORD error, std::uint64_t bytes, std::uint64_t announced);

  // Of the body, where the response has told it.
  std::uint64_t AnnouncedLength() const { return partial_->record().length.value_or(0); }

  // Gives up what Prepare has taken. A file that can be gone on with stays.
  void Release();

  // Whether an earlier run has left bytes that can be gone on with. Throws Failure.
  bool HasResumablePart() const;

  // The whole download in the calling thread.
  Outcome FetchHere(bool resume);

  // ---- In the library's thread --------------------------------------------------------------

  // Refuses a server without a valid certificate, by closing the session.
  void OnConnect(HCLIENT client);

  // The header of the response is there. With `needs_length`, only a response with a length goes
  // on. False when the transfer is to be cancelled.
  bool OnFileOpen(HCLIENT client, bool needs_length);

 private:
  bool Accept(HCLIENT client, bool needs_length);
  Outcome Fail(ExitCode code, const std::string& sentence) const;

  const Options& options_;
  const std::string url_;
  const std::filesystem::path target_;
  std::optional<PartialFile> partial_;
  std::string refusal_;  // of the server's certificate
  int status_ = 0;       // of a response that is an error
  std::string reason_;   // its reason phrase
  bool fetch_here_ = false;
};

#endif  // TOOLS_QVHTTP_BACKGROUND_DOWNLOAD_H_
