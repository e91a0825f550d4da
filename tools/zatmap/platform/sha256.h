// SHA-256 by the system's own library: libcrypto of OpenSSL, BCrypt on Windows.
#pragma once

#include <cstddef>
#include <string>

namespace zatmap {

// The hash of bytes that come in pieces. What it needs of memory it takes when it is made, so that
// a thread without a heap of its own can add to it. Not copyable.
class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(Sha256&& other) noexcept;
  Sha256& operator=(Sha256&& other) noexcept;
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  void Add(const void* data, size_t size);

  // The 64 small hexadecimal digits of all bytes added; "" when the system has refused something.
  // To be called once.
  std::string Finish();

 private:
  void Free();

  void* state_ = nullptr;  // of the back end; null once the system has refused
};

}  // namespace zatmap
