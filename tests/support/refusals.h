// What the system refuses a process: rights, files, threads, room. POSIX only.
#pragma once

#ifndef _WIN32

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/prctl.h>
#endif

#include <csignal>
#include <string>

namespace zatlib::test {

// A user without special rights as long as it lives, if the tests run as one with all rights.
class OrdinaryUser {
 public:
  OrdinaryUser() {
    if (before_ != 0) return;
    EXPECT_EQ(::setresuid(kNobody, kNobody, before_), 0);
  }
  ~OrdinaryUser() {
    if (before_ != 0) return;
    EXPECT_EQ(::setresuid(before_, before_, before_), 0);
#if defined(__linux__)
    ::prctl(PR_SET_DUMPABLE, 1);  // as before: tools that look for leaks look into the process
#endif
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

  // Makes that user the owner of a file or folder.
  static void Give(const std::string& path) {
    if (::geteuid() != 0) return;
    EXPECT_EQ(::chown(path.c_str(), kNobody, kNobody), 0);
  }

 private:
  static constexpr uid_t kNobody = 65534;
  uid_t before_ = ::geteuid();
};

// A smaller limit of the process as long as it lives.
class Limit {
 public:
  Limit(int resource, rlim_t value) : resource_(resource) {
    EXPECT_EQ(::getrlimit(Kind(), &before_), 0);
    rlimit limit = before_;
    limit.rlim_cur = value;
    EXPECT_EQ(::setrlimit(Kind(), &limit), 0);
  }
  ~Limit() { EXPECT_EQ(::setrlimit(Kind(), &before_), 0); }
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;

 private:
  decltype(RLIMIT_NOFILE) Kind() const { return static_cast<decltype(RLIMIT_NOFILE)>(resource_); }
  int resource_;
  rlimit before_{};
};

// Room for `count` more open files.
class FewFiles {
 public:
  explicit FewFiles(rlim_t count) : limit_(RLIMIT_NOFILE, FirstFree() + count) {}

 private:
  static rlim_t FirstFree() {
    const int free = ::dup(STDERR_FILENO);
    EXPECT_GE(free, 0);
    ::close(free);
    return static_cast<rlim_t>(free);
  }
  Limit limit_;
};

// No further thread.
class NoThreads {
  OrdinaryUser user_;
  Limit limit_{RLIMIT_NPROC, 0};
};

// No file may grow beyond `size` bytes.
class ShortFiles {
 public:
  explicit ShortFiles(rlim_t size)
      : before_(std::signal(SIGXFSZ, SIG_IGN)), limit_(RLIMIT_FSIZE, size) {}
  ~ShortFiles() { std::signal(SIGXFSZ, before_); }
  ShortFiles(const ShortFiles&) = delete;
  ShortFiles& operator=(const ShortFiles&) = delete;

 private:
  void (*before_)(int);
  Limit limit_;
};

}  // namespace zatlib::test

#endif
