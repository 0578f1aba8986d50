#ifndef TOOLS_QVHTTP_COMMANDS_H_
#define TOOLS_QVHTTP_COMMANDS_H_

#include "exit_codes.h"
#include "options.h"

// The commands of qvhttp. They throw Failure; what they return tells the server's answer.

// get into a file: downloads to a temporary name beside it, and goes on with what is there where
// that was asked for.
ExitCode RunDownload(const Options& options);

// All other requests but head: sends the request and prints or stores the body of the response.
ExitCode RunRequest(const Options& options);

// head: prints status and headers.
ExitCode RunHead(const Options& options);

// cert: prints what was negotiated with a server, and its certificate.
ExitCode RunCertificate(const Options& options);

// download: fetches many URLs into a folder, several at a time.
ExitCode RunDownloads(const Options& options);

// queue: fetches the URLs of a list into a folder, one after the other. Files that are there are
// not fetched again, and partial ones are gone on with.
ExitCode RunQueue(const Options& options);

// url parse: prints the parts of a URL, one a line.
ExitCode RunParseUrl(const Options& options);

// url normalize: prints the URL in its normalized form.
ExitCode RunNormalizeUrl(const Options& options);

#endif  // TOOLS_QVHTTP_COMMANDS_H_
