# Debian packages, one for each component: `cpack -G DEB` in the build folder, or scripts/make-packages.
set(CPACK_PACKAGE_NAME emlreader)
set(CPACK_PACKAGE_VENDOR "the emlreader authors")
# A package must name a contact. Whoever distributes packages puts an address here.
set(CPACK_PACKAGE_CONTACT "emlreader maintainers <maintainers@emlreader.invalid>"
    CACHE STRING "Maintainer field of packages")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libemlreader1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# For dpkg-shlibdeps of other packages, and instead of maintainer scripts that call ldconfig.
file(WRITE "${PROJECT_BINARY_DIR}/shlibs" "libemlreader 1 libemlreader1 (>= ${PROJECT_VERSION})\n"
                                           "libemlmime 1 libemlreader1 (>= ${PROJECT_VERSION})\n")
file(WRITE "${PROJECT_BINARY_DIR}/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/shlibs;${PROJECT_BINARY_DIR}/triggers")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "Shared libraries, which need only libc. libemlreader opens messages in the
format of RFC 5322 with MIME, lists and decodes their attachments, returns
header values, and renders the message as text, HTML or RTF. libemlmime
reads any message as the tree of its MIME parts, with names, addresses,
dates and text as UTF-8, and lists what is wrong with it. All memory and
all input come from the program that calls the libraries.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libemlreader-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libemlreader1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Development files: the C headers, a C++20 wrapper, static libraries, a
complete host (files, pipes, memory, character conversion), and files for
CMake and pkg-config.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME eml-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libemlreader1 (= ${PROJECT_VERSION})")
# dpkg-shlibdeps sees what a program is linked with, not what it loads later. So it looks at a library that does nothing
# but need what eml loads.
get_property(EMLREADER_LOADED GLOBAL PROPERTY EMLTOOL_LOADED)
find_program(EMLREADER_SHLIBDEPS dpkg-shlibdeps)
if(EMLREADER_LOADED AND EMLREADER_SHLIBDEPS)
    set(PROBE "${PROJECT_BINARY_DIR}/loaded-libraries")
    file(WRITE "${PROBE}/debian/control" "Source: probe\n\nPackage: probe\nArchitecture: any\n")
    execute_process(COMMAND "${CMAKE_C_COMPILER}" -shared -nostdlib -Wl,--no-as-needed -o probe.so ${EMLREADER_LOADED}
                    WORKING_DIRECTORY "${PROBE}" COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND "${EMLREADER_SHLIBDEPS}" -O -eprobe.so WORKING_DIRECTORY "${PROBE}"
                    OUTPUT_VARIABLE DEPENDS ERROR_QUIET)
    if(NOT DEPENDS MATCHES "shlibs:Depends=([^\n]+)")
        message(WARNING "the Debian package of eml will not depend on ${EMLREADER_LOADED}")
    else()
        string(APPEND CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS ", ${CMAKE_MATCH_1}")
    endif()
endif()
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS python3)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "Command eml: shows, lists, extracts and renders messages (.eml), builds a
safe HTML page of one, and turns whole archives into JSON lines. With its
manual pages, completions for bash, zsh and fish, and a Python module.")

# Every package contains its licence and its history, as Debian policy requires; a plain installation does not.
find_program(EMLREADER_GZIP gzip)
configure_file("${PROJECT_SOURCE_DIR}/packaging/changelog.Debian.in" "${PROJECT_BINARY_DIR}/changelog" @ONLY)
if(EMLREADER_GZIP)
    execute_process(COMMAND "${EMLREADER_GZIP}" -9nf "${PROJECT_BINARY_DIR}/changelog" COMMAND_ERROR_IS_FATAL ANY)
endif()
foreach(COMPONENT RUNTIME DEVELOPMENT TOOLS)
    string(TOLOWER ${COMPONENT} component)
    set(DOC "${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME}")
    install(FILES "${PROJECT_SOURCE_DIR}/packaging/copyright" DESTINATION "${DOC}" COMPONENT ${component} EXCLUDE_FROM_ALL)
    if(EMLREADER_GZIP)
        install(FILES "${PROJECT_BINARY_DIR}/changelog.gz" DESTINATION "${DOC}" COMPONENT ${component} EXCLUDE_FROM_ALL)
    endif()
endforeach()

include(CPack)
