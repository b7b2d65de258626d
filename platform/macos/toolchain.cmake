# Cross-builds for macOS where there is no Mac and no SDK: with a compiler that brings macOS's C headers
# and C++ library, and with declarations and text stubs of our own for the frameworks.
#
#   QOR_MACOS_COMPILER    the compiler's program (see fetch_compiler)
#   QOR_MACOS_PROCESSOR   x86_64 or arm64
set(QOR_MACOS_PROCESSOR x86_64 CACHE STRING "The processor to build for: x86_64 or arm64")
set(QOR_MACOS_COMPILER "" CACHE FILEPATH "The cross compiler's program")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QOR_MACOS_PROCESSOR QOR_MACOS_COMPILER)
if(NOT EXISTS "${QOR_MACOS_COMPILER}")
    message(FATAL_ERROR "QOR_MACOS_COMPILER is not a file: '${QOR_MACOS_COMPILER}'")
endif()

# The first macOS of each processor that the compiler still builds for.
if(QOR_MACOS_PROCESSOR STREQUAL "x86_64")
    set(target x86_64-macos.10.13)
elseif(QOR_MACOS_PROCESSOR STREQUAL "arm64")
    set(target aarch64-macos.11.0)
else()
    message(FATAL_ERROR "QOR_MACOS_PROCESSOR is neither x86_64 nor arm64: '${QOR_MACOS_PROCESSOR}'")
endif()

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${QOR_MACOS_PROCESSOR})
# The target says both, and there is no SDK to look for.
set(CMAKE_OSX_DEPLOYMENT_TARGET "" CACHE STRING "")
set(CMAKE_OSX_SYSROOT "" CACHE STRING "")

set(CMAKE_C_COMPILER ${QOR_MACOS_COMPILER} cc)
set(CMAKE_CXX_COMPILER ${QOR_MACOS_COMPILER} c++)
set(CMAKE_OBJCXX_COMPILER ${QOR_MACOS_COMPILER} c++)
# After the compiler's own directories: its <mach/mach.h> is macOS's own.
set(declarations "\"-I${CMAKE_CURRENT_LIST_DIR}/include\" -idirafter \"${CMAKE_CURRENT_LIST_DIR}/../linux/include\"")
foreach(language C CXX OBJCXX)
    set(CMAKE_${language}_COMPILER_TARGET ${target})
    set(CMAKE_${language}_FLAGS_INIT "${declarations}")
endforeach()
# CMake names the language in a way of which the compiler says that it has no use for it.
string(APPEND CMAKE_OBJCXX_FLAGS_INIT " -Wno-unused-command-line-argument")
set(stubs ${CMAKE_CURRENT_LIST_DIR}/stubs)
set(CMAKE_SHARED_LINKER_FLAGS_INIT "\"-F${stubs}\" \"-L${stubs}\"")
set(CMAKE_EXE_LINKER_FLAGS_INIT "\"-F${stubs}\" \"-L${stubs}\"")

# The compiler links its own C++ library into each image, but for the allocation functions: a process has
# one set of them, which its program may replace.
set(CMAKE_CXX_STANDARD_LIBRARIES_INIT "\"${stubs}/libc++.1.tbd\"")

# What CMake sets by itself on a Mac.
set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_DIR}/make_rules.cmake)
set(CMAKE_INSTALL_NAME_DIR @rpath)
set(CMAKE_BUILD_WITH_INSTALL_NAME_DIR ON)

find_program(CMAKE_AR NAMES llvm-ar llvm-ar-14 REQUIRED)
find_program(CMAKE_RANLIB NAMES llvm-ranlib llvm-ranlib-14 REQUIRED)
find_program(CMAKE_INSTALL_NAME_TOOL NAMES llvm-install-name-tool llvm-install-name-tool-14 REQUIRED)
