// Signal numbers: macOS's and this system's agree only in part.
//
// Threads: any.
#ifndef SIGNALS_H
#define SIGNALS_H

namespace system_library {

// 0 for a number that the other system has not.
int nativeSignal(int macSignal);
int macSignal(int nativeSignal);

}  // namespace system_library

#endif
