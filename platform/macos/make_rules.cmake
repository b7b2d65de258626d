# CMake reads from the machine's own version of macOS whether its linker knows run paths.
set(CMAKE_SHARED_LIBRARY_RUNTIME_C_FLAG "-Wl,-rpath,")
# The compiler takes a library's version for its linker only, not among its own options.
set(CMAKE_CXX_OSX_COMPATIBILITY_VERSION_FLAG "-Wl,-compatibility_version,")
set(CMAKE_CXX_OSX_CURRENT_VERSION_FLAG "-Wl,-current_version,")
# A program that exports is to keep what it exports: its linker drops what it takes for unused.
set(CMAKE_EXE_EXPORTS_C_FLAG "-Wl,--no-gc-sections")
