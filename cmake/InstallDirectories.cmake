# Where things are installed, below any prefix.

# Debian's folder for libraries, whatever the prefix: the Debian packages are made of this tree, too.
if(PROJECT_IS_TOP_LEVEL AND NOT APPLE AND CMAKE_LIBRARY_ARCHITECTURE AND EXISTS /etc/debian_version)
    set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Where libraries are installed")
endif()
include(GNUInstallDirs)

# A folder of this project's own, as the platform's headers have names that others have, too.
set(QOR_INSTALL_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/qor_conf_capturemanager)
set(QOR_INSTALL_CMAKE ${CMAKE_INSTALL_LIBDIR}/cmake/qor_conf_capturemanager)
set(QOR_INSTALL_EXAMPLES ${CMAKE_INSTALL_DOCDIR}/examples)
