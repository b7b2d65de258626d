# The compile and link options of every target of the project: link qor_project_options PRIVATE.
add_library(qor_project_options INTERFACE)

target_compile_options(qor_project_options INTERFACE
    # An error in this project's own tree; another's, with whatever compiler, is to be built all the same.
    -Wall -Wextra -Wpedantic $<$<BOOL:${PROJECT_IS_TOP_LEVEL}>:-Werror>
    -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wnull-dereference -Wformat=2
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
    # g++ 12 sees overlapping copies, which are not there, in the standard library's own strings.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>)

# Symbols are resolved when a library is loaded, never inside it, so that a replacement of a support
# or platform library takes effect; what is missing is an error when linking, not when running (but
# for what is bound weakly: src/component/captureManager/DisplayImages.h).
if(NOT APPLE)
    if(NOT QOR_SANITIZE)
        target_link_options(qor_project_options INTERFACE -Wl,-z,defs)
    endif()
    target_link_options(qor_project_options INTERFACE -Wl,-z,relro)
endif()

# What makes a fault in this code, which runs in other programs, harder to use against them: canaries
# in the frames of functions, growing stacks that touch each page, library functions that know how
# large what they write to is, tables that nobody can write to once symbols are bound, and on x86
# returns and jumps that the processor checks. The sanitizers look at the same, and more closely.
if(NOT APPLE AND NOT QOR_SANITIZE)
    target_compile_options(qor_project_options INTERFACE
        -fstack-protector-strong -fstack-clash-protection
        # Only code that is optimised; some distributions' compilers define it by themselves.
        "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    target_link_options(qor_project_options INTERFACE
        -Wl,-z,now -Wl,-z,noexecstack)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        target_compile_options(qor_project_options INTERFACE -fcf-protection=full)
        # The C library's start files, which go into everything, are not marked, though they return as
        # all code does. One unmarked library takes the protection off the whole process.
        target_link_options(qor_project_options INTERFACE -Wl,-z,shstk)
    endif()
endif()

if(QOR_SANITIZE)
    target_compile_options(qor_project_options INTERFACE
        -fsanitize=${QOR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
        # Through the checks that the sanitizers put in, g++ sees paths that are not there. What is wrong
        # in the code fails the builds without them.
        -Wno-error -Wno-null-dereference -Wno-maybe-uninitialized)
    target_link_options(qor_project_options INTERFACE -fsanitize=${QOR_SANITIZE})
endif()

# The version in a library's names. On Linux the file is libNAME.so.0.1.0, hosts ask for libNAME.so.0, its
# SONAME, and the linker for libNAME.so. Version 0 of the interface is kept by tests/package/interfaces/.
function(qor_set_versions target)
    if(APPLE)
        set_target_properties(${target} PROPERTIES
            MACHO_CURRENT_VERSION ${PROJECT_VERSION}
            MACHO_COMPATIBILITY_VERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
    else()
        set_target_properties(${target} PROPERTIES
            VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    endif()
endfunction()

# Exports what the map beside the target's CMakeLists.txt lists, and nothing else. A linker for macOS
# takes plain names, which are those of the kept list; the cross compiler's takes no list, so there the
# target exports what its sources say.
function(qor_export_by_map target)
    if(CMAKE_CROSSCOMPILING AND APPLE)
        return()
    endif()
    if(APPLE)
        set(list ${PROJECT_SOURCE_DIR}/tests/package/exports/${target}.txt)
        file(STRINGS ${list} names)
        list(TRANSFORM names PREPEND _)
        list(JOIN names "\n" text)
        set(map ${CMAKE_CURRENT_BINARY_DIR}/exports.txt)
        file(CONFIGURE OUTPUT ${map} CONTENT "${text}\n" @ONLY)
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
        target_link_options(${target} PRIVATE -Wl,-exported_symbols_list,${map})
    else()
        set(map ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
        target_link_options(${target} PRIVATE -Wl,--version-script=${map})
    endif()
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()
