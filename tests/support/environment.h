// A value of the process's environment for a test. POSIX only.
#pragma once

#ifndef _WIN32

#include <cstdlib>
#include <optional>
#include <string>

namespace zatlib::test {

// The variable has that value (null: is not there) as long as this lives.
class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    Set(value);
  }
  ~Environment() { Set(before_ ? before_->c_str() : nullptr); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  void Set(const char* value) const {
    if (value != nullptr) {
      ::setenv(name_, value, 1);
    } else {
      ::unsetenv(name_);
    }
  }
  const char* name_;
  std::optional<std::string> before_;
};

}  // namespace zatlib::test

#endif
