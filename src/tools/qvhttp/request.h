#ifndef TOOLS_QVHTTP_REQUEST_H_
#define TOOLS_QVHTTP_REQUEST_H_

#include <string>
#include <string_view>

#include "fields.h"
#include "form_data.h"
#include "options.h"
#include "request_body.h"

// One request to send: that of the command line, or one that a redirect led to.
struct Request {
  std::string method;
  std::string url;
  HeaderList headers;
  const RequestBody* body = nullptr;  // of the options
  const FormData* form = nullptr;     // of the options
  // Whether credentials and cookies of the command line go along: they belong to its URL's origin.
  bool is_trusted = true;
  bool decodes = false;  // asks for a compressed body, and has the library decode it
};

// Whether a field is meant for the server of the command line's URL and no other.
bool IsBoundToOrigin(std::string_view name);

// The request of the command line, whose options outlive it.
Request FirstRequest(const Options& options);

#endif  // TOOLS_QVHTTP_REQUEST_H_
