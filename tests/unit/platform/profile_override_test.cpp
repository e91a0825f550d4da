#include "platform/profile_override.h"

#include <gtest/gtest.h>

#include <string>

#include "frd/control.h"
#include "platform/profile.h"
#include "test_support.h"

namespace zatlib::platform {
namespace {

class ProfileOverrideTest : public ::testing::Test {
 protected:
  ProfileOverrideTest() {
    test::WriteBytes(control_, "[FOLDER]\r\nCALCMAPDIR=out\r\nOTHER=1\r\n[SYSTEM]\r\nLOG=1\r\n");
  }
  ~ProfileOverrideTest() override { OverrideProfileValue(nullptr, nullptr, nullptr); }
  std::string Folder() {
    char folder[kPathSize];
    BRN_GetCalcMapDir(control_.c_str(), folder);
    return folder;
  }
  test::TempFolder folder_;
  const std::string control_ = folder_ / "control.ini";
};

TEST_F(ProfileOverrideTest, OneKeyIsReplaced) {
  EXPECT_EQ(Folder(), "out");
  OverrideProfileValue("Folder", "CalcMapDir", "elsewhere");
  EXPECT_EQ(Folder(), "elsewhere");
  EXPECT_EQ(ReadProfileInt("FOLDER", "OTHER", 0, control_.c_str()), 1);
  EXPECT_EQ(ReadProfileInt("SYSTEM", "LOG", 0, control_.c_str()), 1);
  OverrideProfileValue(nullptr, nullptr, nullptr);
  EXPECT_EQ(Folder(), "out");
}

TEST_F(ProfileOverrideTest, AKeyThatIsNotThereTooAndTheTextIsCutAsOthersAre) {
  OverrideProfileValue("NEW", "KEY", "longer");
  char text[5];
  EXPECT_EQ(ReadProfileString("NEW", "KEY", "", text, sizeof text, control_.c_str()), 4u);
  EXPECT_STREQ(text, "long");
  EXPECT_EQ(OverriddenValue("NEW", "KEYS"), nullptr);
  EXPECT_EQ(OverriddenValue("OLD", "KEY"), nullptr);
}

}  // namespace
}  // namespace zatlib::platform
