#include "form_data.h"

#include <algorithm>
#include <string_view>

#include "failure.h"
#include "fields.h"

namespace {

constexpr char kFileMark = '@';
constexpr std::size_t kMaxName = 255;  // the library cuts longer ones

// The library takes these in the name of a local file for references to the environment, and for
// separators.
constexpr const char* kSpecialInFileNames = "%\\";

[[noreturn]] void WrongField(const std::string& argument, const std::string& reason) {
  throw Failure(ExitCode::kUsage, "\"" + argument + "\": " + reason);
}

FormField ReadField(const std::string& argument) {
  const auto equals = argument.find('=');
  if (equals == std::string::npos || equals == 0) {
    WrongField(argument, "write a field as name=value or name=@FILE");
  }
  FormField field{argument.substr(0, equals), argument.substr(equals + 1), false};
  if (field.name.size() > kMaxName) WrongField(argument, "the name is longer than 255 bytes");
  if (field.name.find_first_of("\r\n") != std::string::npos) {
    WrongField(argument, "a line break in the name");
  }
  if (field.value.empty() || field.value.front() != kFileMark) return field;
  field.value.erase(0, 1);
  field.is_file = field.value.empty() || field.value.front() != kFileMark;
  if (field.is_file && field.value.find_first_of(kSpecialInFileNames) != std::string::npos) {
    WrongField(argument, "a file with \"%\" or \"\\\" in its name cannot be sent in a form");
  }
  return field;
}

}  // namespace

FormData ReadForm(const std::vector<std::string>& arguments, bool is_post, bool is_multipart) {
  FormData form;
  form.is_post = is_post;
  form.is_multipart = is_multipart;
  for (const std::string& argument : arguments) {
    FormField field = ReadField(argument);
    // The library, for which case makes no difference, would replace the earlier one.
    const bool again = std::any_of(form.fields.begin(), form.fields.end(), [&](const auto& other) {
      return EqualsIgnoringCase(other.name, field.name);
    });
    if (again) WrongField(argument, "there is a field of this name already");
    form.is_multipart = form.is_multipart || field.is_file;
    form.fields.push_back(std::move(field));
  }
  if (form.is_multipart && !form.is_post) {
    throw Failure(ExitCode::kUsage, "--method GET: files and --multipart go with POST only");
  }
  return form;
}
