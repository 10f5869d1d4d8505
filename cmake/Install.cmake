# What is installed, in three components, each a Debian package: `runtime` (the shared libraries),
# `development` (headers, static libraries, the stand-alone host, emlmime(3), CMake and pkg-config files) and `tools` (the
# command eml, its manual and completions, the Python module).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(EMLREADER_HOST_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/emlreader-host")
set(EMLREADER_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/emlreader")

# Where Python looks for modules. Debian's has one folder for packages, which serves every version, and one for
# each version under /usr/local.
set(EMLREADER_DEFAULT_PYTHONDIR "lib/python3/dist-packages")
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    find_package(Python3 QUIET COMPONENTS Interpreter)
    if(Python3_FOUND)
        set(MODULES "site-packages")
        if(EXISTS /etc/debian_version)
            set(MODULES "dist-packages")
        endif()
        set(EMLREADER_DEFAULT_PYTHONDIR "lib/python${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}/${MODULES}")
    endif()
endif()
set(EMLREADER_PYTHONDIR "${EMLREADER_DEFAULT_PYTHONDIR}" CACHE STRING "Where the Python module is installed")

install(TARGETS emlreader emlmime EXPORT emlreaderTargets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(TARGETS emlreader_static emlmime_static EXPORT emlreaderTargets
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/emlreader" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
        COMPONENT development FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

if(TARGET emlhost)
    install(TARGETS emlhost emlreader_cpp EXPORT emlreaderTargets
            ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
            INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" "${EMLREADER_HOST_INCLUDEDIR}")
    install(DIRECTORY "${PROJECT_SOURCE_DIR}/standalone" DESTINATION "${EMLREADER_HOST_INCLUDEDIR}"
            COMPONENT development FILES_MATCHING PATTERN "*.h")
endif()

install(EXPORT emlreaderTargets NAMESPACE emlreader:: DESTINATION "${EMLREADER_CMAKEDIR}" COMPONENT development)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/emlreaderConfig.cmake.in"
                              "${PROJECT_BINARY_DIR}/emlreaderConfig.cmake"
                              INSTALL_DESTINATION "${EMLREADER_CMAKEDIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/emlreaderConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/emlreaderConfig.cmake" "${PROJECT_BINARY_DIR}/emlreaderConfigVersion.cmake"
        DESTINATION "${EMLREADER_CMAKEDIR}" COMPONENT development)

# From the folder of the pkg-config files back to the prefix, so that an installation can be moved.
file(RELATIVE_PATH EMLREADER_PREFIX_FROM_PC "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
foreach(MODULE emlreader emlmime emlreader-cpp)
    configure_file("${PROJECT_SOURCE_DIR}/cmake/${MODULE}.pc.in" "${PROJECT_BINARY_DIR}/${MODULE}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${MODULE}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
            COMPONENT development)
endforeach()

if(TARGET eml)
    install(TARGETS eml RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
endif()
include(Manual)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/python/emlreader" DESTINATION "${EMLREADER_PYTHONDIR}" COMPONENT tools
        FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)
