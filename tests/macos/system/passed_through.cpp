// Functions of this system's C library and unwinder that agree with macOS's as far as our programs
// can tell: signature, structures, constants and results (their errors go through errno, see
// errors.h). Everything else has an adapter, or is absent, as what no program imports is: an import
// of it fails by name.
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
     "_memchr", "_memcmp", "_memcpy", "_memmove", "_memset", "_strchr", "_strrchr", "_strcmp",
     "_strncmp", "_strdup", "_strlen", "_strnlen", "_strstr", "_strcasecmp",
     // wide characters are 32 bits wide on both
     "_wcslen", "_wcscmp", "_wcsstr", "_wmemchr", "_wmemcmp", "_wcstod", "_wcstof", "_wcstold",
     "_swprintf",
     // numbers
     "_strtod", "_strtof", "_strtold", "_rand",
     // mathematics
     "_ceilf", "_floor", "_nextafter",
     // streams: FILE is opaque, the buffering modes, seek origins and format letters agree
     "_fopen", "_fdopen", "_fclose", "_fflush", "_fread", "_fwrite", "_fgetc", "_fgets", "_fputc",
     "_fputs", "_fputwc", "_getc", "_getwc", "_putchar", "_puts", "_ungetc", "_ungetwc", "_fseek",
     "_fseeko", "_ftell", "_ftello", "_rewind", "_feof", "_fileno", "_tmpfile", "_printf",
     "_vprintf", "_fprintf", "_vfprintf", "_snprintf", "_vsnprintf", "_fscanf", "_sscanf",
     "_remove", "_rename",
     // files, by path or descriptor
     "_chdir", "_dup", "_dup2", "_fchmod", "_ftruncate", "_getcwd", "_isatty", "_link", "_lseek",
     "_mkdir", "_mkdtemp", "_mkstemp", "_pipe", "_pread", "_readlink", "_rmdir", "_symlink",
     "_truncate", "_closedir",
     // memory of the process
     "_mprotect", "_munmap", "_getpagesize",
     // the process
     "_abort", "_exit", "__exit", "__Exit", "___cxa_atexit", "_getenv", "_setenv", "_unsetenv",
     "_fork", "_getpid", "_getuid", "_sched_yield",
     // time: the fields of tm and the 64-bit seconds agree
     "_time", "_localtime_r", "_gettimeofday",
     // keys of threads: an unsigned long whose value fits the int of this system
     "_pthread_key_delete", "_pthread_getspecific", "_pthread_setspecific",
     // the unwinder
     "__Unwind_DeleteException", "__Unwind_GetIP", "__Unwind_GetLanguageSpecificData",
     "__Unwind_GetRegionStart", "__Unwind_RaiseException", "__Unwind_Resume", "__Unwind_SetGR",
     "__Unwind_SetIP"});

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
