// A terminal for tests of the progress line.
#pragma once

#ifndef _WIN32

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace zatlib::test {

// A terminal in place of standard error; what is written to it is read meanwhile.
class Terminal {
 public:
  Terminal() : master_(::posix_openpt(O_RDWR | O_NOCTTY)), before_(::dup(STDERR_FILENO)) {
    EXPECT_GE(master_, 0);
    EXPECT_EQ(::grantpt(master_), 0);
    EXPECT_EQ(::unlockpt(master_), 0);
    const int slave = ::open(::ptsname(master_), O_RDWR | O_NOCTTY);
    EXPECT_GE(slave, 0);
    ::dup2(slave, STDERR_FILENO);
    ::close(slave);
    reader_ = std::thread([this] {
      char block[4096];
      ssize_t got = 0;
      while ((got = ::read(master_, block, sizeof block)) > 0) {
        text_.append(block, static_cast<size_t>(got));
      }
    });
  }

  // Puts standard error back; returns the positions of the bar that were shown, each once as long
  // as it stands.
  std::vector<int> Positions() {
    ::dup2(before_, STDERR_FILENO);  // closes the last writer: the reader ends
    ::close(before_);
    reader_.join();
    ::close(master_);
    std::vector<int> positions;
    for (size_t at = text_.find("% "); at != std::string::npos; at = text_.find("% ", at + 1)) {
      const int position = std::atoi(text_.c_str() + at - 3);
      if (positions.empty() || positions.back() != position) positions.push_back(position);
    }
    return positions;
  }

 private:
  int master_;
  int before_;
  std::thread reader_;
  std::string text_;
};

}  // namespace zatlib::test

#endif
