#pragma once
// Whether the calling thread's stack is nearly used up. Recursive work that
// the user's text drives (nested calls, files that load files) asks before it
// goes one level deeper, so that running out of stack is an error, not a
// crashed process, whatever stack the host gave the thread.

namespace cogent {

// True when less than a reserve is left below the caller's frame: a quarter
// of the thread's stack, at most 256 KB, which leaves room to raise and
// unwind. False when the system does not say where the stack ends.
bool StackNearlyExhausted() noexcept;

}  // namespace cogent
