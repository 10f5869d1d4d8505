# The manual pages, built by scdoc, and the completions, printed by the command itself.
find_program(EMLREADER_SCDOC scdoc)

# The pages of one section, as packed files, and where they are installed.
function(emlreader_manual SECTION COMPONENT)
    file(GLOB PAGES CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/docs/man/*.${SECTION}.scd")
    set(MADE_PAGES "")
    foreach(PAGE IN LISTS PAGES)
        get_filename_component(NAME "${PAGE}" NAME_WLE)
        set(MADE "${PROJECT_BINARY_DIR}/man/${NAME}.gz")
        add_custom_command(OUTPUT "${MADE}" DEPENDS "${PAGE}" VERBATIM
                           COMMAND sh -c "${EMLREADER_SCDOC} <'${PAGE}' | gzip -9n >'${MADE}'")
        list(APPEND MADE_PAGES "${MADE}")
    endforeach()
    add_custom_target("manual${SECTION}" ALL DEPENDS ${MADE_PAGES})
    install(FILES ${MADE_PAGES} DESTINATION "${CMAKE_INSTALL_MANDIR}/man${SECTION}" COMPONENT ${COMPONENT})
endfunction()

if(EMLREADER_SCDOC)
    file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/man")
    emlreader_manual(3 development)
    if(TARGET eml)
        emlreader_manual(1 tools)
    endif()
else()
    message(STATUS "scdoc is missing: no manual pages")
endif()

if(NOT TARGET eml)
    return()
endif()
set(COMPLETIONS "${PROJECT_BINARY_DIR}/completions")
file(MAKE_DIRECTORY "${COMPLETIONS}")
foreach(SHELL bash zsh fish)
    add_custom_command(OUTPUT "${COMPLETIONS}/${SHELL}" DEPENDS eml VERBATIM
                       COMMAND sh -c "'$<TARGET_FILE:eml>' completions ${SHELL} >'${COMPLETIONS}/${SHELL}'")
endforeach()
add_custom_target(completions ALL DEPENDS "${COMPLETIONS}/bash" "${COMPLETIONS}/zsh" "${COMPLETIONS}/fish")
install(FILES "${COMPLETIONS}/bash" DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions" RENAME eml
        COMPONENT tools)
install(FILES "${COMPLETIONS}/zsh" DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/zsh/vendor-completions" RENAME _eml
        COMPONENT tools)
install(FILES "${COMPLETIONS}/fish" DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d"
        RENAME eml.fish COMPONENT tools)
