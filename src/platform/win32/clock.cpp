#include "platform/clock.h"

#include <windows.h>

namespace zatlib::platform {
namespace {

const DateTime* g_fixed = nullptr;
DateTime g_fixed_value;
uint64_t g_tick_step = 0;
uint64_t g_ticks = 0;

SYSTEMTIME ToSystem(const DateTime& date) {
  SYSTEMTIME time{};
  time.wYear = date.year;
  time.wMonth = date.month;
  time.wDayOfWeek = date.day_of_week;
  time.wDay = date.day;
  time.wHour = date.hour;
  time.wMinute = date.minute;
  time.wSecond = date.second;
  time.wMilliseconds = date.milliseconds;
  return time;
}

}  // namespace

DateTime LocalTime() {
  if (g_fixed != nullptr) return *g_fixed;
  SYSTEMTIME time;
  ::GetLocalTime(&time);
  return DateTime{time.wYear, time.wMonth,  time.wDayOfWeek, time.wDay,
                  time.wHour, time.wMinute, time.wSecond,    time.wMilliseconds};
}

uint64_t TickCount() {
  if (g_tick_step != 0) return g_ticks += g_tick_step;
  return ::GetTickCount64();
}

bool IsValidDate(const DateTime& date) {
  const SYSTEMTIME time = ToSystem(date);
  char text[256];
  return ::GetDateFormatA(LOCALE_USER_DEFAULT, DATE_LONGDATE, &time, nullptr, text, sizeof text) !=
         0;
}

std::string RoadDefinitionDate(const DateTime& now) {
  const SYSTEMTIME time = ToSystem(now);
  char text[256] = "";
  ::GetDateFormatA(LOCALE_SYSTEM_DEFAULT, 0, &time, "ddd','MMM dd yyyy", text, sizeof text);
  return text;
}

std::string RoadDefinitionTime(const DateTime& now) {
  const SYSTEMTIME time = ToSystem(now);
  char text[256] = "";
  ::GetTimeFormatA(LOCALE_SYSTEM_DEFAULT, 0, &time, "tt HH':'mm':'ss", text, sizeof text);
  return text;
}

void FixLocalTime(const DateTime* now) {
  if (now != nullptr) g_fixed_value = *now;
  g_fixed = now != nullptr ? &g_fixed_value : nullptr;
}

void StepTickCount(uint64_t step) { g_tick_step = step; }

}  // namespace zatlib::platform
