#include "crypt32/pem_file.h"

#include <openssl/pem.h>

#include <algorithm>
#include <optional>
#include <string>

#include "crypt32/key_pairs.h"
#include "crypt32/text.h"

namespace platform::crypt32 {
namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";

struct Block {
  std::string_view preamble;  // what stands in front of it
  std::string_view label;
  std::string_view text;  // the whole block
};

// Takes the first block away from the text.
std::optional<Block> NextBlock(std::string_view& text) {
  const std::size_t begin = text.find(kBegin);
  if (begin == std::string_view::npos) return std::nullopt;
  const std::size_t label = begin + kBegin.size();
  const std::size_t label_end = text.find(kDashes, label);
  const std::size_t end = text.find(kEnd, label);
  if (label_end == std::string_view::npos || end == std::string_view::npos) return std::nullopt;
  const std::size_t line_end = std::min(text.find('\n', end), text.size());
  const Block block{text.substr(0, begin), text.substr(label, label_end - label),
                    text.substr(begin, line_end - begin)};
  text.remove_prefix(line_end);
  return block;
}

std::u16string FriendlyName(std::string_view preamble) {
  constexpr std::string_view kAttribute = "friendlyName:";
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t found = preamble.rfind(kAttribute);
  if (found == std::string_view::npos) return {};
  std::string_view value = preamble.substr(found + kAttribute.size());
  value = value.substr(0, value.find('\n'));
  value.remove_prefix(std::min(value.find_first_not_of(kBlanks), value.size()));
  const std::size_t last = value.find_last_not_of(kBlanks);
  return ToWide(value.substr(0, last + 1), CP_UTF8);
}

// Instead of the question that OpenSSL would ask on the terminal.
int NoPassword(char* /*buffer*/, int /*size*/, int /*writing*/, void* /*argument*/) { return -1; }

BioPtr Reader(std::string_view text) {
  return BioPtr(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

void ReadBlocks(std::string_view text, std::vector<FoundCertificate>& found,
                std::vector<KeyPtr>& keys) {
  constexpr std::string_view kKeyLabel = "PRIVATE KEY";
  constexpr std::string_view kCertificateLabel = "CERTIFICATE";
  while (const auto block = NextBlock(text)) {
    const BioPtr reader = Reader(block->text);
    const auto ends_with = [&](std::string_view ending) {
      return block->label.size() >= ending.size() &&
             block->label.substr(block->label.size() - ending.size()) == ending;
    };
    if (ends_with(kKeyLabel)) {
      KeyPtr key(PEM_read_bio_PrivateKey(reader.get(), nullptr, NoPassword, nullptr));
      if (key != nullptr) keys.push_back(std::move(key));
    } else if (ends_with(kCertificateLabel)) {
      X509Ptr certificate(PEM_read_bio_X509_AUX(reader.get(), nullptr, NoPassword, nullptr));
      if (certificate == nullptr) continue;
      found.push_back({std::move(certificate), FriendlyName(block->preamble)});
    }
  }
}

}  // namespace

CertificateList ReadPem(std::string_view text, std::string_view keys_elsewhere) {
  std::vector<FoundCertificate> found, ignored;
  std::vector<KeyPtr> keys;
  ReadBlocks(text, found, keys);
  ReadBlocks(keys_elsewhere, ignored, keys);
  return WithKeys(std::move(found), std::move(keys));
}

}  // namespace platform::crypt32
