#include "platform/clock.h"

#include <gtest/gtest.h>

#include <string>

#include "test_support.h"

namespace zatlib::platform {
namespace {

class ClockTest : public ::testing::Test {
 protected:
  ~ClockTest() override {
    FixLocalTime(nullptr);
    StepTickCount(0);
  }
  static DateTime Date(uint16_t year, uint16_t month, uint16_t day) {
    DateTime date{};
    date.year = year;
    date.month = month;
    date.day = day;
    return date;
  }
};

TEST_F(ClockTest, DatesOfTheCalendarAreValid) {
  EXPECT_TRUE(IsValidDate(Date(2016, 1, 31)));
  EXPECT_TRUE(IsValidDate(Date(2016, 12, 31)));
  EXPECT_TRUE(IsValidDate(Date(2015, 2, 28)));
  EXPECT_TRUE(IsValidDate(Date(2016, 2, 29)));
  EXPECT_TRUE(IsValidDate(Date(2000, 2, 29)));
  EXPECT_TRUE(IsValidDate(Date(1601, 1, 1)));
}

TEST_F(ClockTest, OtherDatesAreNot) {
  EXPECT_FALSE(IsValidDate(Date(2016, 2, 30)));
  EXPECT_FALSE(IsValidDate(Date(2016, 4, 31)));
  EXPECT_FALSE(IsValidDate(Date(2016, 1, 32)));
  EXPECT_FALSE(IsValidDate(Date(2016, 1, 0)));
  EXPECT_FALSE(IsValidDate(Date(2016, 0, 1)));
  EXPECT_FALSE(IsValidDate(Date(2016, 13, 1)));
  EXPECT_FALSE(IsValidDate(Date(1600, 12, 31)));
}

#ifndef _WIN32
TEST_F(ClockTest, TheCalendarEndsWithTheYear30827) {
  EXPECT_TRUE(IsValidDate(Date(30827, 12, 31)));
  EXPECT_FALSE(IsValidDate(Date(30828, 1, 1)));
}
#endif

TEST_F(ClockTest, OnlyLeapYearsHaveAFebruary29) {
  if (test::UnderWine()) GTEST_SKIP() << "Wine takes February 29 of every year";
  EXPECT_FALSE(IsValidDate(Date(2015, 2, 29)));
  EXPECT_FALSE(IsValidDate(Date(1900, 2, 29)));
}

TEST_F(ClockTest, TheWeekDayDoesNotMakeADateInvalid) {
  DateTime date = Date(2016, 3, 31);  // a Thursday
  date.day_of_week = 1;
  EXPECT_TRUE(IsValidDate(date));
}

TEST_F(ClockTest, TheLocalTimeIsADate) {
  const DateTime now = LocalTime();
  EXPECT_TRUE(IsValidDate(now));
  EXPECT_LT(now.day_of_week, 7);
  EXPECT_LT(now.hour, 24);
  EXPECT_LT(now.minute, 60);
  EXPECT_LT(now.milliseconds, 1000);
}

TEST_F(ClockTest, TheLocalTimeCanBeFixed) {
  DateTime fixed = Date(2016, 3, 14);
  fixed.hour = 23;
  fixed.milliseconds = 999;
  FixLocalTime(&fixed);
  fixed.year = 1999;  // the clock keeps a copy
  EXPECT_EQ(LocalTime().year, 2016);
  EXPECT_EQ(LocalTime().hour, 23);
  EXPECT_EQ(LocalTime().milliseconds, 999);
  FixLocalTime(nullptr);
  EXPECT_NE(LocalTime().year, 2016);
}

TEST_F(ClockTest, TheTickCounterGoesForward) {
  const uint64_t first = TickCount();
  EXPECT_GE(TickCount(), first);
}

TEST_F(ClockTest, EveryLookAdvancesASteppedTickCounter) {
  StepTickCount(2500);
  const uint64_t first = TickCount();
  EXPECT_EQ(TickCount(), first + 2500);
  EXPECT_EQ(TickCount(), first + 5000);
}

TEST_F(ClockTest, DateTextsHoldTheParts) {
  DateTime date = Date(2026, 11, 5);
  date.day_of_week = 4;
  date.hour = 15;
  date.minute = 4;
  date.second = 9;
  const std::string day = RoadDefinitionDate(date);
  const std::string time = RoadDefinitionTime(date);
  // The names of day, month and half of the day are the locale's.
  EXPECT_NE(day.find(','), std::string::npos) << day;
  EXPECT_EQ(day.substr(day.size() - 8), " 05 2026") << day;
  EXPECT_EQ(time.substr(time.size() - 9), " 15:04:09") << time;
#ifndef _WIN32
  EXPECT_EQ(day, "Thu,Nov 05 2026");
  EXPECT_EQ(time, "PM 15:04:09");
  date.hour = 0;
  EXPECT_EQ(RoadDefinitionTime(date), "AM 00:04:09");
#endif
}

}  // namespace
}  // namespace zatlib::platform
