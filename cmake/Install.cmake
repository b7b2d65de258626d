# What 'cmake --install' puts where, in components: runtime, development, tools (and gstreamer, by its own
# folder). Each is a Debian package: Packages.cmake.
include(CMakePackageConfigHelpers)

foreach(directory CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_BINDIR CMAKE_INSTALL_DOCDIR)
    if(IS_ABSOLUTE "${${directory}}")
        message(FATAL_ERROR "${directory} is to be relative, as what is installed can be moved: ${${directory}}")
    endif()
endforeach()

# ---- runtime, and the names that the linker looks for
install(TARGETS ${libraries} EXPORT qor_conf_capturemanagerTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)

# ---- development: headers
install(DIRECTORY include/ DESTINATION ${QOR_INSTALL_HEADERS} COMPONENT development)
install(FILES support/vqutilc.h support/kxcommon64.h
    DESTINATION ${QOR_INSTALL_HEADERS} COMPONENT development)
if(NOT APPLE)
    install(DIRECTORY platform/linux/include/
        DESTINATION ${QOR_INSTALL_HEADERS}/platform COMPONENT development)
endif()

# ---- development: for find_package
set(package_files ${PROJECT_BINARY_DIR}/package)
configure_package_config_file(cmake/qor_conf_capturemanagerConfig.cmake.in
    ${package_files}/qor_conf_capturemanagerConfig.cmake
    INSTALL_DESTINATION ${QOR_INSTALL_CMAKE} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${package_files}/qor_conf_capturemanagerConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${package_files}/qor_conf_capturemanagerConfig.cmake
    ${package_files}/qor_conf_capturemanagerConfigVersion.cmake
    DESTINATION ${QOR_INSTALL_CMAKE} COMPONENT development)
install(EXPORT qor_conf_capturemanagerTargets NAMESPACE qor_conf_capturemanager::
    DESTINATION ${QOR_INSTALL_CMAKE} COMPONENT development)

# ---- development: for pkg-config
string(REGEX REPLACE "[^/]+" ".." prefix_from_libraries ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# What a library's headers include, and it is linked with, comes with it; not on a host's command line.
function(add_pkg_config name headers description)
    list(JOIN ARGN " " requires)
    set(file ${package_files}/${name}.pc)
    configure_file(cmake/library.pc.in ${file} @ONLY)
    install(FILES ${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()
if(NOT APPLE)
    add_pkg_config(qor_coregraphics qor_conf_capturemanager/platform
        "Displays, windows and their images on X11, through the CoreGraphics API")
    set(platform qor_coregraphics)
endif()
add_pkg_config(qor_conf_vqutilc qor_conf_capturemanager
    "Trace facility, text stream, critical section, event and tick of the capture manager")
add_pkg_config(qor_conf_kxcommon64 qor_conf_capturemanager
    "Bounded memory, block copy and scalers of the capture manager")
add_pkg_config(qor_conf_capturemanager qor_conf_capturemanager "${PROJECT_DESCRIPTION}"
    qor_conf_vqutilc qor_conf_kxcommon64 ${platform})

# ---- development: examples
install(DIRECTORY examples/ DESTINATION ${QOR_INSTALL_EXAMPLES} COMPONENT development
    PATTERN *.sh PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# ---- tools
if(TARGET capmgr)
    install(TARGETS capmgr RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endif()

# Wherever it is all moved to, the library finds those beside it, and programs and plugins find it.
if(NOT APPLE)
    set_target_properties(qor_conf_capturemanager PROPERTIES INSTALL_RPATH $ORIGIN)
    if(TARGET capmgr)
        file(RELATIVE_PATH libraries_from_programs /p/${CMAKE_INSTALL_BINDIR} /p/${CMAKE_INSTALL_LIBDIR})
        set_target_properties(capmgr PROPERTIES INSTALL_RPATH $ORIGIN/${libraries_from_programs})
    endif()
    if(TARGET gstqorcapture)
        set_target_properties(gstqorcapture PROPERTIES INSTALL_RPATH $ORIGIN/..)
    endif()
endif()
