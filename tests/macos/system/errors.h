// Error numbers: macOS's and this system's differ from 11 and from 35 upwards.
//
// Threads: any.
#ifndef ERRORS_H
#define ERRORS_H

#include <cerrno>

namespace system_library {

// macOS's numbers, where one is named here.
constexpr int kErrorIntr = 4;
constexpr int kErrorDeadlock = 11;
constexpr int kErrorInvalid = 22;
constexpr int kErrorRange = 34;
constexpr int kErrorAgain = 35;
constexpr int kErrorNotSupported = 45;
constexpr int kErrorTimedOut = 60;
constexpr int kErrorNameTooLong = 63;

// macOS's number for one of this system's; 0 stays 0, an unknown one becomes EIO.
int macError(int nativeError);

// The calling thread's errno as macOS programs see it (macOS's numbers).
void setMacErrno(int error);

// What a call of this system leaves in errno stays invisible outside the object's life: a thread
// that merely waited has had no error.
class ErrnoKept {
  public:
    ErrnoKept() : kept_(errno) {}
    ~ErrnoKept() { errno = kept_; }
    ErrnoKept(const ErrnoKept&) = delete;
    ErrnoKept& operator=(const ErrnoKept&) = delete;

  private:
    int kept_;
};

}  // namespace system_library

#endif
