#pragma once

namespace brisk {

// What loading and unloading the library does. Called by the library's entry point on each system,
// and by the simulated bench when it is exchanged. Neither fails: whatever is missing afterwards
// shows in the operations that need it.
void AttachLibrary();

// kUnloaded: no call is under way. kProcessKilledThreads: the process ends and its other threads
// are gone, killed wherever they were, as Windows does it.
enum class Detaching { kUnloaded, kProcessKilledThreads };
void DetachLibrary(Detaching how = Detaching::kUnloaded);

}  // namespace brisk
