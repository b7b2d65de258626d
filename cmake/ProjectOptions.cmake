# The compile and link options of every target of the project: link qor_project_options PRIVATE.
add_library(qor_project_options INTERFACE)

target_compile_options(qor_project_options INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wcast-align
    -Wnull-dereference -Wformat=2
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
    # g++ 12 sees overlapping copies, which are not there, in the standard library's own strings.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>)

# Symbols are resolved when a library is loaded, never inside it, so that a replacement of a support
# or platform library takes effect; what is missing is an error when linking, not when running.
if(NOT APPLE)
    if(NOT QOR_SANITIZE)
        target_link_options(qor_project_options INTERFACE -Wl,-z,defs)
    endif()
    target_link_options(qor_project_options INTERFACE -Wl,-z,relro)
endif()

if(QOR_SANITIZE)
    target_compile_options(qor_project_options INTERFACE
        -fsanitize=${QOR_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
        # -Wnull-dereference sees paths through the checks that the sanitizers put in.
        -Wno-null-dereference)
    target_link_options(qor_project_options INTERFACE -fsanitize=${QOR_SANITIZE})
endif()

# Exports what the map beside the target's CMakeLists.txt lists, and nothing else.
function(qor_export_by_map target)
    set(map ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
    target_link_options(${target} PRIVATE -Wl,--version-script=${map})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()
