# Run by CPack on what is about to be packed: what Debian's policy wants of packages, and an installation
# by hand does without.
cmake_policy(VERSION 3.25)

find_program(gzip gzip REQUIRED)

function(compress file)
    execute_process(COMMAND ${gzip} --best --no-name --force ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The time of the build or, where builds are to be alike, SOURCE_DATE_EPOCH.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(changelog "${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Packages of ${CPACK_PACKAGE_NAME} ${CPACK_PACKAGE_VERSION}; its changes are in changelog.gz.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX})
    string(TOUPPER ${component} variable)
    set(documents ${root}/share/doc/${CPACK_DEBIAN_${variable}_PACKAGE_NAME})

    # The system's loader finds the libraries where packages put them.
    file(GLOB_RECURSE files LIST_DIRECTORIES false ${root}/bin/* ${root}/lib/*.so*)
    foreach(file IN LISTS files)
        if(NOT IS_SYMLINK ${file})
            file(RPATH_REMOVE FILE ${file})
        endif()
    endforeach()

    file(GLOB pages ${root}/share/man/man*/*)
    foreach(page IN LISTS pages)
        compress(${page})
    endforeach()

    file(COPY ${CPACK_QOR_SOURCES}/cmake/debian/copyright DESTINATION ${documents})
    configure_file(${CPACK_QOR_SOURCES}/CHANGELOG.md ${documents}/changelog COPYONLY)
    compress(${documents}/changelog)
    file(WRITE ${documents}/changelog.Debian "${changelog}")
    compress(${documents}/changelog.Debian)
endforeach()
