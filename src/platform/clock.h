// Local time, the tick counter and the date texts of the system's locale.
#pragma once

#include <cstdint>
#include <string>

namespace zatlib::platform {

// A date and time as the platform keeps it; the order of the fields is that of the Windows record.
struct DateTime {
  uint16_t year;
  uint16_t month;        // 1 to 12
  uint16_t day_of_week;  // 0 = Sunday
  uint16_t day;          // 1 to 31
  uint16_t hour;
  uint16_t minute;
  uint16_t second;
  uint16_t milliseconds;
};

DateTime LocalTime();

// Milliseconds since some fixed moment.
uint64_t TickCount();

// True when the system's date formatter takes the date (it exists in the calendar from 1601 on).
bool IsValidDate(const DateTime& date);

// The date as "ddd','MMM dd yyyy" and the time as "tt HH':'mm':'ss" in the system's locale.
std::string RoadDefinitionDate(const DateTime& now);
std::string RoadDefinitionTime(const DateTime& now);

// For tests: fixes the local time (null = the real clock), and makes every look at the tick
// counter advance it by `step` milliseconds (0 = the real counter).
void FixLocalTime(const DateTime* now);
void StepTickCount(uint64_t step);

}  // namespace zatlib::platform
