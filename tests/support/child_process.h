#pragma once

#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

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
  int Wait() {
    int status = 0;
    waitpid(id_, &status, 0);
    id_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t id_;
};

}  // namespace brisk
