#pragma once

#include <string>

#include "platform/debug_stream.h"
#include "platform/shared_section.h"

namespace brisk::os {

// One user of the shared section that lives in the POSIX shared memory object `name`.
//
// Two byte locks on the object, of the kind that belongs to an open file (F_OFD_SETLK), keep it
// right without anybody having to tidy up, because the kernel drops them with their holder:
//   use   every user holds it shared for as long as it is one. Who can turn it into an exclusive
//         lock is alone: on arrival the first user, who writes the initial values; on leaving the
//         last one, who unlinks the object.
//   gate  held exclusively while arriving and while leaving, so that two arrivals cannot each keep
//         the other from being the first.
// These locks change between shared and exclusive in one step; flock(2) lets go in between, and two
// first users could pass each other there.
class SharedObjectUser {
 public:
  explicit SharedObjectUser(const std::string& name);
  SharedObjectUser(const SharedObjectUser&) = delete;
  SharedObjectUser& operator=(const SharedObjectUser&) = delete;
  ~SharedObjectUser();

  // Null when the object is somebody else's or cannot be made; WhyNot says which.
  SharedSection* section() const { return section_; }
  const std::string& WhyNot() const { return whyNot_; }
  bool first() const { return first_; }

  // In the child of a fork: the child becomes a user of its own. Without this, parent and child
  // would be one user, who leaves when either does.
  void BecomeUserAfterFork();

 private:
  enum class Arrival { kDone, kFailed, kUnlinked };

  Arrival Arrive();
  bool OpenOwnObject();
  bool MapAndInitialise();
  bool Fail(const char* what);
  void Close();

  std::string name_;
  std::string whyNot_;
  int file_ = -1;
  SharedSection* section_ = nullptr;
  bool first_ = false;
};

// The calling user's object.
std::string SharedObjectName();

}  // namespace brisk::os
