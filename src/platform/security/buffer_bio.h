// OpenSSL's view of the caller's buffers.
#ifndef PLATFORM_SECURITY_BUFFER_BIO_H_
#define PLATFORM_SECURITY_BUFFER_BIO_H_

#include <openssl/bio.h>

#include <cstddef>
#include <span>
#include <vector>

#include "qvplatform.h"

namespace platform::security {

// Reads from bytes that the caller has received. What is written goes straight to the places that
// the caller has for it, else into a list that waits for the next occasion to be sent; the order of
// the bytes is kept in any case.
class BufferBio {
 public:
  BufferBio() = default;
  BufferBio(const BufferBio&) = delete;
  BufferBio& operator=(const BufferBio&) = delete;

  // A BIO over this object, owned by who gets it; null when there is no memory. The object must
  // outlive it.
  BIO* NewBio();

  void SetInput(std::span<const BYTE> input) {
    input_ = input;
    used_ = 0;
  }
  std::size_t used() const { return used_; }

  // One place to write to, and how many bytes came to be there.
  struct Place {
    BYTE* begin;
    std::size_t capacity;
    std::size_t filled = 0;
  };
  // Until ClearOutput, output fills these places one behind the other.
  void SetOutput(std::span<Place> places) { places_ = places; }
  void ClearOutput() { places_ = {}; }

  std::vector<BYTE>& waiting() { return waiting_; }

 private:
  static int Read(BIO* bio, char* data, std::size_t size, std::size_t* read);
  static int Write(BIO* bio, const char* data, std::size_t size, std::size_t* written);
  static long Control(BIO* bio, int command, long number, void* pointer);
  static const BIO_METHOD* Method();

  // Fills the places and gives what did not fit.
  std::span<const BYTE> Fill(std::span<const BYTE> bytes);

  std::span<const BYTE> input_;
  std::size_t used_ = 0;
  std::span<Place> places_;
  std::vector<BYTE> waiting_;
};

}  // namespace platform::security

#endif  // PLATFORM_SECURITY_BUFFER_BIO_H_
