#include "platform/clock.h"

#include <sys/time.h>

#include <chrono>
#include <cstdio>
#include <ctime>

namespace zatlib::platform {
namespace {

const DateTime* g_fixed = nullptr;
DateTime g_fixed_value;
uint64_t g_tick_step = 0;
uint64_t g_ticks = 0;

const char* const kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace

DateTime LocalTime() {
  if (g_fixed != nullptr) return *g_fixed;
  timeval now{};
  ::gettimeofday(&now, nullptr);
  tm local{};
  const time_t seconds = now.tv_sec;
  ::localtime_r(&seconds, &local);
  return DateTime{
      static_cast<uint16_t>(local.tm_year + 1900), static_cast<uint16_t>(local.tm_mon + 1),
      static_cast<uint16_t>(local.tm_wday),        static_cast<uint16_t>(local.tm_mday),
      static_cast<uint16_t>(local.tm_hour),        static_cast<uint16_t>(local.tm_min),
      static_cast<uint16_t>(local.tm_sec),         static_cast<uint16_t>(now.tv_usec / 1000)};
}

uint64_t TickCount() {
  if (g_tick_step != 0) return g_ticks += g_tick_step;
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                   std::chrono::steady_clock::now().time_since_epoch())
                                   .count());
}

bool IsValidDate(const DateTime& date) {
  if (date.year < 1601 || date.year > 30827 || date.month < 1 || date.month > 12) return false;
  static const uint16_t kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  uint16_t length = kLengths[date.month - 1];
  if (date.month == 2 && (date.year % 4 == 0 && (date.year % 100 != 0 || date.year % 400 == 0))) {
    ++length;
  }
  return date.day >= 1 && date.day <= length;
}

std::string RoadDefinitionDate(const DateTime& now) {
  char text[64];
  std::snprintf(text, sizeof text, "%s,%s %02u %u", kDays[now.day_of_week % 7],
                kMonths[(now.month + 11) % 12], now.day, now.year);
  return text;
}

std::string RoadDefinitionTime(const DateTime& now) {
  char text[64];
  std::snprintf(text, sizeof text, "%s %02u:%02u:%02u", now.hour < 12 ? "AM" : "PM", now.hour,
                now.minute, now.second);
  return text;
}

void FixLocalTime(const DateTime* now) {
  if (now != nullptr) g_fixed_value = *now;
  g_fixed = now != nullptr ? &g_fixed_value : nullptr;
}

void StepTickCount(uint64_t step) { g_tick_step = step; }

}  // namespace zatlib::platform
