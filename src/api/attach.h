#pragma once

namespace brisk {

// What loading and unloading the library does, in the order given in attach.cc. Called by the
// library's entry point on each system, and by the simulated bench when it is exchanged. Neither
// fails: whatever is missing afterwards shows in the operations that need it.
void AttachLibrary();
void DetachLibrary();

}  // namespace brisk
