#include "platform/sha256.h"

#include <windows.h>
// The header of the hashes needs the one above.
#include <bcrypt.h>

#include <algorithm>
#include <utility>

namespace zatmap {
namespace {

constexpr char kDigits[] = "0123456789abcdef";
constexpr size_t kHashSize = 32;
constexpr size_t kMostAtOnce = size_t{1} << 30;  // bytes of one call

// The system's provider of SHA-256, opened once for the process; null when there is none.
BCRYPT_ALG_HANDLE Provider() {
  static const BCRYPT_ALG_HANDLE provider = [] {
    BCRYPT_ALG_HANDLE opened = nullptr;
    if (BCryptOpenAlgorithmProvider(&opened, BCRYPT_SHA256_ALGORITHM, nullptr, 0) < 0) {
      return BCRYPT_ALG_HANDLE{};
    }
    return opened;
  }();
  return provider;
}

}  // namespace

Sha256::Sha256() {
  BCRYPT_HASH_HANDLE hash = nullptr;
  if (Provider() != nullptr &&
      BCryptCreateHash(Provider(), &hash, nullptr, 0, nullptr, 0, 0) >= 0) {
    state_ = hash;
  }
}

Sha256::~Sha256() { Free(); }

Sha256::Sha256(Sha256&& other) noexcept : state_(std::exchange(other.state_, nullptr)) {}

Sha256& Sha256::operator=(Sha256&& other) noexcept {
  std::swap(state_, other.state_);
  return *this;
}

void Sha256::Free() {
  if (state_ != nullptr) BCryptDestroyHash(state_);
  state_ = nullptr;
}

void Sha256::Add(const void* data, size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  while (size > 0 && state_ != nullptr) {
    const size_t part = std::min(size, kMostAtOnce);
    // The call takes a pointer that is not constant and only reads.
    if (BCryptHashData(state_, const_cast<unsigned char*>(bytes), static_cast<ULONG>(part), 0) <
        0) {
      Free();
    }
    bytes += part;
    size -= part;
  }
}

std::string Sha256::Finish() {
  unsigned char bytes[kHashSize];
  std::string text;
  if (state_ == nullptr || BCryptFinishHash(state_, bytes, sizeof bytes, 0) < 0) return text;
  for (const unsigned char byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace zatmap
