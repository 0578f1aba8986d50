#ifndef TOOLS_QVHTTP_REQUEST_BODY_H_
#define TOOLS_QVHTTP_REQUEST_BODY_H_

#include <string>
#include <vector>

// The body of a request and its type.
struct RequestBody {
  std::string content;
  std::string content_type;   // empty: as the library types bodies of the method
  std::string streamed_file;  // a PUT of this file instead of `content`, for files that are large
};

// A body from "TEXT", "@FILE" or "@-" (standard input). Throws Failure.
RequestBody TextBody(const std::string& argument, const std::string& content_type);

// The body of an upload: a file, or standard input for "-". Throws Failure.
RequestBody FileBody(const std::string& name);

// A multipart form with one field for each "[NAME=]PATH". Throws Failure.
RequestBody FormBody(const std::vector<std::string>& arguments);

#endif  // TOOLS_QVHTTP_REQUEST_BODY_H_
