#include "frd/log.h"

#include <cstring>
#include <string>

#include "frd/files.h"
#include "frd/folder_tree.h"
#include "platform/file.h"
#include "platform/named_lock.h"

namespace zatlib {
namespace {

constexpr char kCompany[] = "Orvilex Systems,Inc.";
constexpr char kLockName[] = "FrdLogRightMutexName";
constexpr uint32_t kLockWait = 1000;  // milliseconds; a timeout is ignored
constexpr int kDaysKept = 31;
constexpr int64_t kServiceLogLimit = 65536;  // bytes of a service log file that make an erase pass

std::function<void(const char*)> g_listener;

// True for a tag made of blanks only: ASCII spaces and ideographic spaces (0x81 0x40).
bool IsBlankTag(const char* tag) {
  while (*tag != 0) {
    if (*tag == ' ') {
      ++tag;
    } else if (static_cast<unsigned char>(tag[0]) == 0x81 && tag[1] == 0x40) {
      tag += 2;
    } else {
      return false;
    }
  }
  return true;
}

// The folder of a tag's logs, created with its parents on first use. Returns 1 or 0.
int FRD_GetAppDataFolder(int folder_kind, const char* tag, char* path_out) {
  std::string base;
  if (!platform::AppDataFolder(folder_kind != kAllUsers, &base)) return 0;
  char path[kPathSize];
  FRD_JoinPath(path, base.c_str(), kCompany);
  if (!IsBlankTag(tag)) {
    // The tag of the service logs names two levels.
    std::string native(tag);
    for (size_t i = 0; i < native.size(); i += FRD_CharLength(native.c_str() + i)) {
      if (native[i] == '\\') native[i] = platform::NativeSeparator();
    }
    char tagged[kPathSize];
    FRD_JoinPath(tagged, path, native.c_str());
    std::memcpy(path, tagged, kPathSize);
  }
  std::memcpy(path_out, path, kPathSize);
  // The second look catches a folder that another process is just making.
  for (int look = 0; look < 2; ++look) {
    if (platform::CanEnterFolder(path)) return 1;
  }
  return FRD_CreateFolderTree(path) != 0 ? 1 : 0;
}

int TodaysPath(int folder_kind, const char* tag, char* path_out) {
  path_out[0] = 0;
  char folder[kPathSize] = {};
  if (FRD_GetAppDataFolder(folder_kind, tag, folder) == 0) return 0;
  const platform::DateTime now = platform::LocalTime();
  char name[32];
  FRD_Format(name, sizeof name, "%04d%02d%02d.log", now.year, now.month, now.day);
  FRD_JoinPath(path_out, folder, name);
  return 1;
}

bool WriteText(platform::File& file, const char* text) {
  const auto length = static_cast<uint32_t>(std::strlen(text));
  if (length == 0) return true;
  uint32_t written = 0;
  return file.Write(text, length, &written);
}

}  // namespace

void SetLogListener(std::function<void(const char*)> listener) { g_listener = std::move(listener); }

int FRD_GetUserLogPath(const char* tag, char* path_out) {
  return TodaysPath(kPerUser, tag, path_out);
}

int FRD_GetCommonLogPath(const char* tag, char* path_out) {
  return TodaysPath(kAllUsers, tag, path_out);
}

std::string LogBeside(std::string program) {
  const size_t dot = program.rfind('.');
  size_t name_start = 0;
  for (size_t i = 0; i < program.size(); ++i) {
    if (platform::IsSeparator(program[i])) name_start = i + 1;
  }
  // A dot in a folder's name is no extension.
  if (dot != std::string::npos && dot >= name_start) program.resize(dot);
  return program + ".log";
}

void FRD_GetHostLogPath(char* path_out) {
  std::string program = platform::ProgramPath();
  if (program.empty()) {
    char fallback[kPathSize];
    FRD_JoinPath(fallback, platform::TempFolder().c_str(), "ZATFRD.LOG");
    program = fallback;
  }
  FRD_CopyText(path_out, kPathSize, LogBeside(program));
  char folder[kPathSize];
  char name[kPathSize];
  FRD_SplitPath(path_out, folder, name);
  bool read_only = false;
  const bool known =
      platform::GetAttributes(path_out, &read_only) || platform::GetAttributes(folder, &read_only);
  if (known && read_only) FRD_JoinPath(path_out, platform::TempFolder().c_str(), name);
}

int FRD_WriteLog(int folder_kind, const char* tag, const char* text, int with_time_stamp) {
  if (g_listener && tag != nullptr && std::strcmp(tag, kBuildTag) == 0) g_listener(text);
  const platform::NamedLock lock(kLockName, kLockWait);
  char path[kPathSize] = {};
  if (tag == nullptr) {
    FRD_GetHostLogPath(path);
  } else if (TodaysPath(folder_kind, tag, path) == 0) {
    return 0;
  }
  platform::File file =
      platform::File::Open(path, platform::Access::kReadWrite, platform::Share::kNone,
                           platform::Disposition::kOpenAlways);
  if (!file.IsOpen()) return 0;
  if (file.Seek(0, platform::SeekFrom::kEnd) < 0) return 0;
  bool good = true;
  if (with_time_stamp != 0) {
    const platform::DateTime now = platform::LocalTime();
    char stamp[64];
    FRD_Format(stamp, sizeof stamp, "%04d%02d%02d %02d:%02d:%02d.%03d ", now.year, now.month,
               now.day, now.hour, now.minute, now.second, now.milliseconds);
    good = WriteText(file, stamp);
  }
  good = WriteText(file, text) && good;
  good = WriteText(file, "\r\n") && good;
  return good ? 1 : 0;
}

int FRD_MakPrevDay(platform::DateTime* date) {
  if (date->day == 0 || date->day > 31 || !platform::IsValidDate(*date)) return 0;
  if (date->day == 1) {
    date->day = 31;
    if (date->month == 1) {
      date->month = 12;
      --date->year;
    } else {
      --date->month;
      while (date->day > 1 && !platform::IsValidDate(*date)) --date->day;
    }
  } else {
    --date->day;
  }
  if (platform::IsValidDate(*date)) return 1;
  FRD_WriteLog(kPerUser, kServiceTag, "Internal Logic Error in FRD_MakPrevDay", 1);
  return 0;
}

int FRD_EraseOldLogs(int folder_kind, const char* tag) {
  if (tag == nullptr) {
    {
      const platform::NamedLock lock(kLockName, kLockWait);
      char path[kPathSize];
      FRD_GetHostLogPath(path);
      platform::RemoveFile(path);
    }
    FRD_WriteLog(folder_kind, nullptr, "Previous Log File was erased", 1);
    return 1;
  }
  int result = 0;
  long count = 0;
  char cut_off[16];
  {
    const platform::NamedLock lock(kLockName, kLockWait);
    char today[kPathSize] = {};
    result = TodaysPath(folder_kind, tag, today);
    // Without an application-data folder the folder is empty. That is the root of the current drive
    // where there are drives; names there sort above any date as a rule.
    char folder[kPathSize] = {};
    FRD_SplitPath(today, folder, nullptr);
    platform::DateTime date = platform::LocalTime();
    for (int i = 0; i < kDaysKept; ++i) FRD_MakPrevDay(&date);
    FRD_Format(cut_off, sizeof cut_off, "%04d%02d%02d", date.year, date.month, date.day);
    platform::FindFiles(folder, ".log", [&](const char* name) {
      if (std::strncmp(name, cut_off, std::strlen(cut_off)) >= 0) return;
      char path[kPathSize];
      FRD_JoinPath(path, folder, name);
      platform::RemoveFile(path);
      ++count;
    });
  }
  char line[128];
  FRD_Format(line, sizeof line, "%ld log files before %s erased.", count, cut_off);
  FRD_WriteLog(folder_kind, tag, line, 1);
  return result;
}

int FRD_LogFrd(const char* text) {
  char path[kPathSize];
  int64_t size = -1;
  if (FRD_GetCommonLogPath(kServiceTag, path) != 0) {
    size = static_cast<int64_t>(FileSize(path));
  }
  if (size > kServiceLogLimit) FRD_EraseOldLogs(kAllUsers, kServiceTag);
  return FRD_WriteLog(kAllUsers, kServiceTag, text, 1);
}

int FRD_LogTagged(const char* tag, const char* text, int with_time_stamp) {
  char buffer[kPathSize] = {};
  if (tag != nullptr) FRD_CopyText(buffer, sizeof buffer, tag);
  return FRD_WriteLog(kPerUser, buffer, text, with_time_stamp);
}

void LogBuild(const char* format, ...) {
  char line[kMessageSize];
  va_list arguments;
  va_start(arguments, format);
  FRD_FormatV(line, sizeof line, format, arguments);
  va_end(arguments);
  FRD_LogTagged(kBuildTag, line, 1);
}

}  // namespace zatlib
