// A web server that reads submitted forms with Python's own library, as a child process.
#ifndef SUPPORT_FORM_SERVER_H_
#define SUPPORT_FORM_SERVER_H_

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/temp_dir.h"

namespace test {

// A field as the server understood it.
struct SeenField {
  std::string name;
  std::string value;
  std::optional<std::string> file_name = std::nullopt;
  bool operator==(const SeenField&) const = default;
};

// A form as the server understood it.
struct SeenForm {
  std::string method;
  std::string path;  // without the query
  std::string type;  // media type without parameters, "" for none
  std::vector<SeenField> fields;
};

// Answers every request with what it was; see ReadAnswer.
class FormServer {
 public:
  // Returns when the server accepts connections; throws std::runtime_error when it does not start.
  FormServer();
  ~FormServer();
  FormServer(const FormServer&) = delete;
  FormServer& operator=(const FormServer&) = delete;

  std::uint16_t port() const { return port_; }
  std::string url(std::string_view path) const;

  // The body of an answer.
  static SeenForm ReadAnswer(std::string_view body);

 private:
  void Stop();

  TempDir folder_;
  std::uint16_t port_ = 0;
  pid_t pid_ = -1;
};

}  // namespace test

#endif  // SUPPORT_FORM_SERVER_H_
