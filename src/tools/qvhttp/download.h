#ifndef TOOLS_QVHTTP_DOWNLOAD_H_
#define TOOLS_QVHTTP_DOWNLOAD_H_

#include <cstdint>

#include "options.h"

// Fetches the URL of the options into their file, and goes on with what is there where they say so.
// Returns the bytes of the file. Throws Failure, also for a status that is no success.
std::uint64_t DownloadFile(const Options& options);

#endif  // TOOLS_QVHTTP_DOWNLOAD_H_
