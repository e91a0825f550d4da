#include "platform/named_lock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace zatlib::platform {
namespace {

constexpr char kName[] = "ZatLibNamedLockTest";

// The lock belongs to a thread: whether another one gets it is asked on a thread of its own.
bool OtherThreadGets(uint32_t timeout_ms) {
  bool held = false;
  std::thread other([&] { held = NamedLock(kName, timeout_ms).Held(); });
  other.join();
  return held;
}

TEST(NamedLockTest, AFreeLockIsTaken) {
  const NamedLock lock(kName, 0);
  EXPECT_TRUE(lock.Held());
}

TEST(NamedLockTest, AHeldLockTimesOut) {
  const NamedLock lock(kName, 1000);
  ASSERT_TRUE(lock.Held());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(OtherThreadGets(200));
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(190));
  EXPECT_LT(waited, std::chrono::seconds(10));
}

TEST(NamedLockTest, ADestroyedOrReleasedLockIsFree) {
  { const NamedLock lock(kName, 1000); }
  EXPECT_TRUE(OtherThreadGets(1000));
  NamedLock lock(kName, 1000);
  lock.Release();
  EXPECT_FALSE(lock.Held());
  EXPECT_TRUE(OtherThreadGets(1000));
}

TEST(NamedLockTest, AWaiterGetsTheLockWhenItIsGivenBack) {
  NamedLock lock(kName, 1000);
  ASSERT_TRUE(lock.Held());
  bool held = false;
  std::thread other([&] { held = NamedLock(kName, 10000).Held(); });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  lock.Release();
  other.join();
  EXPECT_TRUE(held);
}

TEST(NamedLockTest, NamesAreApart) {
  const NamedLock lock(kName, 1000);
  bool held = false;
  std::thread other([&] { held = NamedLock("ZatLibNamedLockTest2", 0).Held(); });
  other.join();
  EXPECT_TRUE(held);
}

#ifndef _WIN32
TEST(NamedLockTest, ALockWhoseFileCannotBeMadeIsNotHeld) {
  NamedLock lock("ZatLibNo/Such/Folder", 1000);
  EXPECT_FALSE(lock.Held());
  lock.Release();
  EXPECT_FALSE(lock.Held());
}
#endif

}  // namespace
}  // namespace zatlib::platform
