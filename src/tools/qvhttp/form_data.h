#ifndef TOOLS_QVHTTP_FORM_DATA_H_
#define TOOLS_QVHTTP_FORM_DATA_H_

#include <string>
#include <vector>

struct FormField {
  std::string name;
  std::string value;  // a text, or the name of a file
  bool is_file = false;
};

// A form as the command line fills it in.
struct FormData {
  std::vector<FormField> fields;  // each name once
  bool is_post = true;
  bool is_multipart = false;
};

// Reads "name=value", "name=@FILE" and "name=@@text". Throws Failure.
FormData ReadForm(const std::vector<std::string>& arguments, bool is_post, bool is_multipart);

#endif  // TOOLS_QVHTTP_FORM_DATA_H_
