#pragma once

namespace brisk::os {

// Holds an object that is constructed where it stands and never destroyed. The parts of the
// platform are used by destructors of static objects, whose order across source files is not
// defined; none of them owns anything that the end of the process does not give back.
template <typename T>
class NeverDestroyed {
 public:
  NeverDestroyed() : value_() {}
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;
  ~NeverDestroyed() {}  // NOLINT(modernize-use-equals-default): a defaulted one is deleted

  T& operator*() { return value_; }

 private:
  union {
    T value_;
  };
};

// The process's one object of a type, made at the first call.
template <typename T>
T& Permanent() {
  static NeverDestroyed<T> object;
  return *object;
}

}  // namespace brisk::os
