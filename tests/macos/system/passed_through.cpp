// Functions of this system's C library and unwinder that agree with macOS's to the bit: signature,
// structures, constants and results (their errors go through errno, see errors.h). Everything else
// has an adapter, or is absent so that an import of it fails by name.
//
// Not here in spite of its looks: whatever takes a flag, a locale, a time-out, a signal or a
// thread.
#include <dlfcn.h>

#include <array>
#include <string_view>

#include "symbol_table.h"

namespace system_library {
namespace {

// With macOS's leading underscore; the address is the one that a program of this system gets, so a
// preloaded library takes effect.
constexpr std::array kNames = std::to_array<const char*>(
    {// memory
     "_malloc", "_calloc", "_free", "_posix_memalign",
     // bytes and strings
     "_memchr", "_memcmp", "_memcpy", "_memmove", "_memset", "_memmem", "_memccpy", "_strcat",
     "_strncat", "_strchr", "_strrchr", "_strcmp", "_strncmp", "_strcpy", "_strncpy", "_stpcpy",
     "_strcspn", "_strspn", "_strpbrk", "_strdup", "_strndup", "_strlen", "_strnlen", "_strstr",
     "_strtok", "_strtok_r", "_strcasecmp", "_strncasecmp", "_strcoll", "_strxfrm", "_strsep",
     "___memcpy_chk", "___memmove_chk", "___memset_chk", "___strcpy_chk", "___strncpy_chk",
     "___strcat_chk", "___strncat_chk", "___stpcpy_chk", "___snprintf_chk", "___vsnprintf_chk",
     "___sprintf_chk", "___vsprintf_chk", "___stack_chk_fail",
     // wide characters are 32 bits wide on both
     "_wcslen", "_wcscmp", "_wcsncmp", "_wcsstr", "_wcschr", "_wcsrchr", "_wcscpy", "_wcsncpy",
     "_wcscoll", "_wcsxfrm", "_wmemchr", "_wmemcmp", "_wmemcpy", "_wmemmove", "_wmemset", "_wcstod",
     "_wcstof", "_wcstold", "_swprintf", "_vswprintf", "_swscanf",
     // numbers
     "_atoi", "_atol", "_atoll", "_atof", "_strtod", "_strtof", "_strtold", "_abs", "_labs",
     "_llabs", "_div", "_ldiv", "_lldiv", "_rand", "_srand", "_rand_r", "_arc4random",
     "_arc4random_buf", "_arc4random_uniform", "_qsort", "_bsearch",
     // mathematics
     "_acos", "_asin", "_atan", "_atan2", "_atan2f", "_cbrt", "_ceil", "_ceilf", "_ceill",
     "_copysign", "_cos", "_cosf", "_cosh", "_exp", "_exp2", "_expf", "_expm1", "_fabs", "_fdim",
     "_floor", "_floorf", "_floorl", "_fma", "_fmax", "_fmin", "_fmod", "_fmodf", "_frexp",
     "_hypot", "_ldexp", "_llrint", "_llround", "_llroundl", "_log", "_log10", "_log1p", "_log2",
     "_logf", "_logl", "_lrint", "_lrintf", "_lround", "_lroundf", "_modf", "_nan", "_nearbyint",
     "_nextafter", "_nextafterf", "_nexttoward", "_pow", "_powf", "_powl", "_remainder", "_rint",
     "_rintf", "_round", "_roundf", "_roundl", "_scalbn", "_sin", "_sinf", "_sinh", "_sqrt",
     "_sqrtf", "_sqrtl", "_tan", "_tanf", "_tanh", "_tgamma", "_trunc", "_truncf",
     // streams: FILE is opaque, the buffering modes, seek origins and format letters agree
     "_fopen", "_fdopen", "_freopen", "_fclose", "_fflush", "_fread", "_fwrite", "_fgetc", "_fgets",
     "_fputc", "_fputs", "_fputwc", "_fgetwc", "_getc", "_getchar", "_getwc", "_putc", "_putchar",
     "_puts", "_ungetc", "_ungetwc", "_fseek", "_fseeko", "_ftell", "_ftello", "_rewind", "_feof",
     "_ferror", "_clearerr", "_fileno", "_setvbuf", "_tmpfile", "_getline", "_getdelim",
     "_flockfile", "_funlockfile", "_printf", "_vprintf", "_fprintf", "_vfprintf", "_sprintf",
     "_vsprintf", "_snprintf", "_vsnprintf", "_asprintf", "_vasprintf", "_dprintf", "_scanf",
     "_fscanf", "_sscanf", "_vsscanf", "_remove", "_rename",
     // files, by path or descriptor
     "_access", "_chdir", "_chmod", "_dup", "_dup2", "_fchmod", "_fsync", "_ftruncate", "_getcwd",
     "_isatty", "_link", "_lseek", "_mkdir", "_mkdtemp", "_mkstemp", "_pipe", "_pread", "_pwrite",
     "_readlink", "_rmdir", "_symlink", "_truncate", "_umask", "_closedir", "_dirfd", "_rewinddir",
     // memory of the process
     "_mprotect", "_munmap", "_getpagesize",
     // the process
     "_abort", "_exit", "__exit", "__Exit", "___cxa_atexit", "___cxa_finalize", "_getenv",
     "_setenv", "_unsetenv", "_putenv", "_fork", "_getpid", "_getppid", "_getuid", "_geteuid",
     "_getgid", "_getegid", "_sched_yield",
     // time: the fields of tm and the 64-bit seconds agree
     "_time", "_localtime", "_localtime_r", "_gmtime", "_gmtime_r", "_mktime", "_timegm",
     "_strftime", "_difftime", "_gettimeofday", "_tzset",
     // keys of threads: an unsigned long whose value fits the int of this system
     "_pthread_key_delete", "_pthread_getspecific", "_pthread_setspecific",
     // the unwinder
     "__Unwind_Backtrace", "__Unwind_DeleteException", "__Unwind_FindEnclosingFunction",
     "__Unwind_ForcedUnwind", "__Unwind_GetCFA", "__Unwind_GetDataRelBase", "__Unwind_GetGR",
     "__Unwind_GetIP", "__Unwind_GetIPInfo", "__Unwind_GetLanguageSpecificData",
     "__Unwind_GetRegionStart", "__Unwind_GetTextRelBase", "__Unwind_RaiseException",
     "__Unwind_Resume", "__Unwind_Resume_or_Rethrow", "__Unwind_SetGR", "__Unwind_SetIP"});

// A name that an older C library lacks stays absent.
bool registerAll() noexcept {
    for (const std::string_view name : kNames) {
        if (void* const address = dlsym(RTLD_DEFAULT, name.substr(1).data()); address != nullptr) {
            const Registration registration{{name, address}};
        }
    }
    return true;
}

const bool registered = registerAll();

}  // namespace
}  // namespace system_library
