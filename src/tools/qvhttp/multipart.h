#ifndef TOOLS_QVHTTP_MULTIPART_H_
#define TOOLS_QVHTTP_MULTIPART_H_

#include <string>
#include <vector>

#include "request_body.h"

// One file of a form.
struct FormFile {
  std::string field;
  std::string file_name;
  std::string content;
};

// The multipart/form-data document of the files (RFC 7578).
RequestBody ComposeMultipart(const std::vector<FormFile>& files);

#endif  // TOOLS_QVHTTP_MULTIPART_H_
