#include "platform/linux/shared_memory.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

// The bytes that are locked; they need not exist.
constexpr off_t kGate = 0;
constexpr off_t kUse = 1;

enum class Waiting { kNo, kYes };

bool Lock(int file, off_t byte, short kind, Waiting waiting) {
  struct flock lock {};
  lock.l_type = kind;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  const int command = waiting == Waiting::kYes ? F_OFD_SETLKW : F_OFD_SETLK;
  int result = 0;
  do {
    result = fcntl(file, command, &lock);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace

SharedObjectUser::SharedObjectUser(const std::string& name) : name_(name) {
  Arrival arrival = Arrival::kUnlinked;
  while (arrival == Arrival::kUnlinked) arrival = Arrive();
}

SharedObjectUser::~SharedObjectUser() {
  if (section_ == nullptr) return;
  munmap(section_, sizeof(SharedSection));
  if (Lock(file_, kGate, F_WRLCK, Waiting::kYes) && Lock(file_, kUse, F_WRLCK, Waiting::kNo)) {
    shm_unlink(name_.c_str());
  }
  // Neither lock is left to the closing: the mapping that a forked child inherited keeps the file
  // open. The use goes first, or the next one through the gate would still find us here and leave
  // the object behind.
  Lock(file_, kUse, F_UNLCK, Waiting::kNo);
  Lock(file_, kGate, F_UNLCK, Waiting::kNo);
  Close();
}

void SharedObjectUser::BecomeUserAfterFork() {
  if (file_ < 0) return;
  const std::string self = "/proc/self/fd/" + std::to_string(file_);
  const int own = open(self.c_str(), O_RDWR | O_CLOEXEC);
  if (own < 0) return;
  if (Lock(own, kUse, F_RDLCK, Waiting::kNo)) dup3(own, file_, O_CLOEXEC);
  close(own);
}

SharedObjectUser::Arrival SharedObjectUser::Arrive() {
  if (!OpenOwnObject()) return Arrival::kFailed;
  if (!Lock(file_, kGate, F_WRLCK, Waiting::kYes) || !Lock(file_, kUse, F_RDLCK, Waiting::kYes)) {
    Fail("cannot be locked");
    return Arrival::kFailed;
  }
  struct stat status {};
  if (fstat(file_, &status) != 0 || status.st_nlink == 0) {
    Close();  // the last user left between our opening and our lock; make a new object
    return Arrival::kUnlinked;
  }
  // Alone behind the gate: whatever the object holds was left by users who are gone.
  first_ = Lock(file_, kUse, F_WRLCK, Waiting::kNo);
  if (!MapAndInitialise()) return Arrival::kFailed;
  Lock(file_, kUse, F_RDLCK, Waiting::kNo);
  Lock(file_, kGate, F_UNLCK, Waiting::kNo);
  return Arrival::kDone;
}

bool SharedObjectUser::OpenOwnObject() {
  // O_NOFOLLOW and O_CLOEXEC come with shm_open.
  file_ = shm_open(name_.c_str(), O_RDWR | O_CREAT, S_IRUSR | S_IWUSR);
  if (file_ < 0) return Fail("cannot be opened");
  struct stat status {};
  errno = 0;
  if (fstat(file_, &status) != 0 || status.st_uid != geteuid() || !S_ISREG(status.st_mode)) {
    return Fail("belongs to another user");
  }
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) return Fail("is open to other users");
  return true;
}

bool SharedObjectUser::MapAndInitialise() {
  if (first_ && ftruncate(file_, sizeof(SharedSection)) != 0) return Fail("cannot be sized");
  void* memory = mmap(nullptr, sizeof(SharedSection), PROT_READ | PROT_WRITE, MAP_SHARED, file_, 0);
  if (memory == MAP_FAILED) return Fail("cannot be mapped");
  section_ =
      first_ ? new (memory) SharedSection : std::launder(static_cast<SharedSection*>(memory));
  return true;
}

bool SharedObjectUser::Fail(const char* what) {
  whyNot_ = "shared memory " + name_ + " " + what;
  if (errno != 0) whyNot_ += std::string(": ") + std::strerror(errno);  // NOLINT(concurrency-*)
  Close();
  return false;
}

void SharedObjectUser::Close() {
  if (file_ >= 0) close(file_);
  file_ = -1;
  section_ = nullptr;
}

std::string SharedObjectName() {
  // The width of a pointer is in the name because the layout depends on it.
  return "/brisk-" + std::to_string(geteuid()) + "-" + std::to_string(8 * sizeof(void*));
}

namespace {

// What Section() gives where sharing is refused, and after the user has left.
SharedSection privateSection;
SharedObjectUser* processUser = nullptr;

// The process as a user, from the first use of the section until static objects are destroyed: that
// is after the library has detached, since attaching uses it first.
class ProcessUser {
 public:
  ProcessUser() : user_(SharedObjectName()) {
    if (user_.section() == nullptr) {
      TheDebugStream().Write(
          ("brisk-- " + user_.WhyNot() + "; the shared section is private to this process\n")
              .c_str());
      return;
    }
    processUser = &user_;
    pthread_atfork(nullptr, nullptr, [] {
      if (processUser != nullptr) processUser->BecomeUserAfterFork();
    });
  }
  ProcessUser(const ProcessUser&) = delete;
  ProcessUser& operator=(const ProcessUser&) = delete;
  ~ProcessUser() {
    if (processUser != nullptr) privateSection = *user_.section();
    processUser = nullptr;
  }

 private:
  SharedObjectUser user_;
};

class PosixSharedMemory final : public SharedMemory {
 public:
  SharedSection& Section() override {
    static ProcessUser user;
    return processUser != nullptr ? *processUser->section() : privateSection;
  }
};

}  // namespace

SharedMemory& TheSharedMemory() { return Permanent<PosixSharedMemory>(); }

}  // namespace brisk::os
