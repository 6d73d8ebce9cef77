#pragma once

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace brisk {

// A process that runs `body` and leaves without running this program's destructors.
class Child {
 public:
  explicit Child(const std::function<int()>& body) : id_(fork()) {
    if (id_ == 0) _exit(body());
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  Child(Child&& other) noexcept : id_(std::exchange(other.id_, -1)) {}
  ~Child() {
    if (id_ > 0) Wait();
  }

  void Kill() {
    kill(id_, SIGKILL);
    Wait();
  }
  // Exit code, or minus the signal that ended it.
  int Wait() {
    int status = 0;
    waitpid(id_, &status, 0);
    id_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  pid_t id_;
};

// A one-byte signal between processes.
class Gate {
 public:
  Gate() { EXPECT_EQ(pipe2(ends_.data(), O_CLOEXEC), 0); }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;
  ~Gate() {
    close(ends_[0]);
    close(ends_[1]);
  }
  void Open(int passes = 1) {
    const std::vector<char> bytes(static_cast<size_t>(passes), 'x');
    EXPECT_EQ(write(ends_[1], bytes.data(), bytes.size()), passes);
  }
  void Pass() {
    char byte = 0;
    while (read(ends_[0], &byte, 1) < 0 && errno == EINTR) {
    }
  }

 private:
  std::array<int, 2> ends_{};
};

}  // namespace brisk
