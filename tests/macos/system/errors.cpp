#include "errors.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "symbol_table.h"

namespace system_library {
namespace {

struct Error {
    int native;  // 0: this system has no such error
    const char* text;
};

// In the order of macOS's numbers, from 0.
constexpr std::array<Error, 107> kErrors{{
    {0, "Undefined error: 0"},
    {EPERM, "Operation not permitted"},
    {ENOENT, "No such file or directory"},
    {ESRCH, "No such process"},
    {EINTR, "Interrupted system call"},
    {EIO, "Input/output error"},
    {ENXIO, "Device not configured"},
    {E2BIG, "Argument list too long"},
    {ENOEXEC, "Exec format error"},
    {EBADF, "Bad file descriptor"},
    {ECHILD, "No child processes"},
    {EDEADLK, "Resource deadlock avoided"},
    {ENOMEM, "Cannot allocate memory"},
    {EACCES, "Permission denied"},
    {EFAULT, "Bad address"},
    {ENOTBLK, "Block device required"},
    {EBUSY, "Resource busy"},
    {EEXIST, "File exists"},
    {EXDEV, "Cross-device link"},
    {ENODEV, "Operation not supported by device"},
    {ENOTDIR, "Not a directory"},
    {EISDIR, "Is a directory"},
    {EINVAL, "Invalid argument"},
    {ENFILE, "Too many open files in system"},
    {EMFILE, "Too many open files"},
    {ENOTTY, "Inappropriate ioctl for device"},
    {ETXTBSY, "Text file busy"},
    {EFBIG, "File too large"},
    {ENOSPC, "No space left on device"},
    {ESPIPE, "Illegal seek"},
    {EROFS, "Read-only file system"},
    {EMLINK, "Too many links"},
    {EPIPE, "Broken pipe"},
    {EDOM, "Numerical argument out of domain"},
    {ERANGE, "Result too large"},
    {EAGAIN, "Resource temporarily unavailable"},
    {EINPROGRESS, "Operation now in progress"},
    {EALREADY, "Operation already in progress"},
    {ENOTSOCK, "Socket operation on non-socket"},
    {EDESTADDRREQ, "Destination address required"},
    {EMSGSIZE, "Message too long"},
    {EPROTOTYPE, "Protocol wrong type for socket"},
    {ENOPROTOOPT, "Protocol not available"},
    {EPROTONOSUPPORT, "Protocol not supported"},
    {ESOCKTNOSUPPORT, "Socket type not supported"},
    {ENOTSUP, "Operation not supported"},
    {EPFNOSUPPORT, "Protocol family not supported"},
    {EAFNOSUPPORT, "Address family not supported by protocol family"},
    {EADDRINUSE, "Address already in use"},
    {EADDRNOTAVAIL, "Can't assign requested address"},
    {ENETDOWN, "Network is down"},
    {ENETUNREACH, "Network is unreachable"},
    {ENETRESET, "Network dropped connection on reset"},
    {ECONNABORTED, "Software caused connection abort"},
    {ECONNRESET, "Connection reset by peer"},
    {ENOBUFS, "No buffer space available"},
    {EISCONN, "Socket is already connected"},
    {ENOTCONN, "Socket is not connected"},
    {ESHUTDOWN, "Can't send after socket shutdown"},
    {ETOOMANYREFS, "Too many references: can't splice"},
    {ETIMEDOUT, "Operation timed out"},
    {ECONNREFUSED, "Connection refused"},
    {ELOOP, "Too many levels of symbolic links"},
    {ENAMETOOLONG, "File name too long"},
    {EHOSTDOWN, "Host is down"},
    {EHOSTUNREACH, "No route to host"},
    {ENOTEMPTY, "Directory not empty"},
    {0, "Too many processes"},
    {EUSERS, "Too many users"},
    {EDQUOT, "Disc quota exceeded"},
    {ESTALE, "Stale NFS file handle"},
    {EREMOTE, "Too many levels of remote in path"},
    {0, "RPC struct is bad"},
    {0, "RPC version wrong"},
    {0, "RPC prog. not avail"},
    {0, "Program version wrong"},
    {0, "Bad procedure for program"},
    {ENOLCK, "No locks available"},
    {ENOSYS, "Function not implemented"},
    {0, "Inappropriate file type or format"},
    {0, "Authentication error"},
    {0, "Need authenticator"},
    {0, "Device power is off"},
    {0, "Device error"},
    {EOVERFLOW, "Value too large to be stored in data type"},
    {0, "Bad executable (or shared library)"},
    {0, "Bad CPU type in executable"},
    {0, "Shared library version mismatch"},
    {0, "Malformed Mach-o file"},
    {ECANCELED, "Operation canceled"},
    {EIDRM, "Identifier removed"},
    {ENOMSG, "No message of desired type"},
    {EILSEQ, "Illegal byte sequence"},
    {0, "Attribute not found"},
    {EBADMSG, "Bad message"},
    {EMULTIHOP, "EMULTIHOP (Reserved)"},
    {ENODATA, "No message available on STREAM"},
    {ENOLINK, "ENOLINK (Reserved)"},
    {ENOSR, "No STR resources"},
    {ENOSTR, "Not a STREAM"},
    {EPROTO, "Protocol error"},
    {ETIME, "STREAM ioctl timeout"},
    {0, "Operation not supported on socket"},
    {0, "Policy not found"},
    {ENOTRECOVERABLE, "State not recoverable"},
    {EOWNERDEAD, "Previous owner died"},
    {0, "Interface output queue is full"},
}};

static_assert(kErrors[kErrorDeadlock].native == EDEADLK);
static_assert(kErrors[kErrorAgain].native == EAGAIN);
static_assert(kErrors[kErrorNotSupported].native == ENOTSUP);
static_assert(kErrors[kErrorTimedOut].native == ETIMEDOUT);
static_assert(kErrors[kErrorNameTooLong].native == ENAMETOOLONG);

constexpr int kErrorUnmapped = 5;

thread_local int macErrno = 0;

// Functions that are passed through set this system's errno: taken over when the program looks.
int* addressOfErrno() {
    if (errno != 0) {
        macErrno = macError(errno);
        errno = 0;
    }
    return &macErrno;
}

// Results 0, EINVAL for a number that is none, ERANGE for a buffer too short; a text all the same.
int errorText(int error, char* text, size_t size) {
    const bool known = error >= 0 && static_cast<size_t>(error) < kErrors.size();
    const int length =
        known ? std::snprintf(text, size, "%s", kErrors[static_cast<size_t>(error)].text)
              : std::snprintf(text, size, "Unknown error: %d", error);
    if (length < 0 || static_cast<size_t>(length) >= size) {
        return kErrorRange;
    }
    return known ? 0 : kErrorInvalid;
}

char* errorTextOfThread(int error) {
    static thread_local std::array<char, 96> text;
    errorText(error, text.data(), text.size());
    return text.data();
}

void printError(const char* prefix) {
    const char* text = errorTextOfThread(*addressOfErrno());
    if (prefix != nullptr && *prefix != '\0') {
        std::fprintf(stderr, "%s: %s\n", prefix, text);
    } else {
        std::fprintf(stderr, "%s\n", text);
    }
}

const Registration registration{
    symbol("___error", addressOfErrno),
    symbol("_strerror", errorTextOfThread),
    symbol("_strerror_r", errorText),
    symbol("_perror", printError),
};

}  // namespace

int macError(int nativeError) {
    if (nativeError == 0) {
        return 0;
    }
    const auto found =
        std::find_if(kErrors.begin(), kErrors.end(),
                     [nativeError](const Error& error) { return error.native == nativeError; });
    return found == kErrors.end() ? kErrorUnmapped : static_cast<int>(found - kErrors.begin());
}

void setMacErrno(int error) {
    errno = 0;
    macErrno = error;
}

}  // namespace system_library
