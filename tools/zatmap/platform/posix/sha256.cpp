#include "platform/sha256.h"

#include <openssl/evp.h>

#include <utility>

namespace zatmap {
namespace {

constexpr char kDigits[] = "0123456789abcdef";

EVP_MD_CTX* ContextOf(void* state) { return static_cast<EVP_MD_CTX*>(state); }

}  // namespace

Sha256::Sha256() : state_(EVP_MD_CTX_new()) {
  if (state_ != nullptr && EVP_DigestInit_ex(ContextOf(state_), EVP_sha256(), nullptr) != 1) Free();
}

Sha256::~Sha256() { Free(); }

Sha256::Sha256(Sha256&& other) noexcept : state_(std::exchange(other.state_, nullptr)) {}

Sha256& Sha256::operator=(Sha256&& other) noexcept {
  std::swap(state_, other.state_);
  return *this;
}

void Sha256::Free() {
  EVP_MD_CTX_free(ContextOf(state_));
  state_ = nullptr;
}

void Sha256::Add(const void* data, size_t size) {
  if (state_ != nullptr && EVP_DigestUpdate(ContextOf(state_), data, size) != 1) Free();
}

std::string Sha256::Finish() {
  unsigned char bytes[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  std::string text;
  if (state_ == nullptr || EVP_DigestFinal_ex(ContextOf(state_), bytes, &size) != 1) return text;
  for (unsigned i = 0; i < size; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

}  // namespace zatmap
