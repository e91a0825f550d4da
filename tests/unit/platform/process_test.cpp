#include "platform/process.h"

#include <gtest/gtest.h>

#include "platform/user_interface.h"

namespace zatlib::platform {
namespace {

TEST(ProcessTest, TheModuleHandleIsKept) {
  void* const before = ModuleHandle();
  int module = 0;
  SetModuleHandle(&module);
  EXPECT_EQ(ModuleHandle(), &module);
  SetModuleHandle(before);
}

TEST(UserInterfaceTest, NullIsNoWindow) { EXPECT_FALSE(IsLiveWindow(nullptr)); }

}  // namespace
}  // namespace zatlib::platform
