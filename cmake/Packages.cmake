# Debian packages, one for each installed component: cmake --build build --target package
if(NOT PROJECT_IS_TOP_LEVEL OR APPLE)
    return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGE_NAME qor-conf-capturemanager)
set(CPACK_PACKAGE_VENDOR "Capture Manager Developers")
set(CPACK_PACKAGE_CONTACT "Capture Manager Developers <developers@capturemanager.example>")
# Each package's own first line is its summary.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# A part that was not built has no package.
get_cmake_property(installed COMPONENTS)
set(CPACK_COMPONENTS_ALL runtime development tools gstreamer)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    if(NOT component IN_LIST installed)
        list(REMOVE_ITEM CPACK_COMPONENTS_ALL ${component})
    endif()
endforeach()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE qor-conf-capturemanager)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/finish_packages.cmake)

set(runtime libqor-conf-capturemanager${PROJECT_VERSION_MAJOR})
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "screen-capture manager, shared libraries
Shares a display, or one application's window, as frames in memory: each
capture runs on a thread of its own at a bounded rate, scales the picture to
the size asked for, and leaves chosen windows out.
.
This package holds the library, its two support libraries, and its platform
library for X11.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqor-conf-capturemanager-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime} ${same_version}")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "screen-capture manager, development files
Headers, links for the linker, files for CMake and pkg-config, and examples
of hosts in C and C++ of the screen-capture manager.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME capmgr)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION x11)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime} ${same_version}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS fonts-dejavu-core)  # any font for texts in pictures
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "screen capture from the command line
Lists monitors and windows, takes pictures of a display or of one window,
records them as video, shows live what others will see, and tells how captures
are getting on. Windows can be left out of the picture.")

set(CPACK_DEBIAN_GSTREAMER_PACKAGE_NAME gstreamer1.0-qorcapture)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_DEPENDS "${runtime} ${same_version}")
set(CPACK_COMPONENT_GSTREAMER_DESCRIPTION "screen capture for GStreamer
The source element qorcapturesrc: pictures of a display, with or without
chosen windows, or of one window, as live video.")

# What other packages that link with the libraries depend on, and that the loader's cache is renewed.
set(shlibs "")
foreach(library IN LISTS libraries)
    string(APPEND shlibs
        "lib${library} ${PROJECT_VERSION_MAJOR} ${runtime} (>= ${PROJECT_VERSION})\n")
endforeach()
file(CONFIGURE OUTPUT debian/shlibs CONTENT "${shlibs}" @ONLY)
file(CONFIGURE OUTPUT debian/triggers CONTENT "activate-noawait ldconfig\n" @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${PROJECT_BINARY_DIR}/debian/shlibs ${PROJECT_BINARY_DIR}/debian/triggers)

# For finish_packages.cmake.
set(CPACK_QOR_SOURCES ${PROJECT_SOURCE_DIR})
include(CPack)
