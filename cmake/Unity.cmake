# Compiles test files in batches: what each of them costs is mostly the headers, and those are read once for a batch.
option(EMLREADER_UNITY "Compile the test files, and the commands of the tool, in batches" OFF)

set(EMLREADER_UNITY_BATCH 10)

# emlreader_unity_tests(OUT PREFIX FILE...): files that include FILE... take their place in OUT. Each test file stands
# in a namespace of its own, so that the names of two files never meet; the headers of the batch come first, outside
# of it. What a test file defines is therefore seen by no other file. A file with macros is compiled alone.
function(emlreader_unity_tests OUT PREFIX)
    set(RESULT "")
    set(HEADERS "")
    set(BODIES "")
    set(COUNT 0)
    set(NUMBER 0)
    foreach(FILE IN LISTS ARGN)
        set(PATH "${CMAKE_CURRENT_SOURCE_DIR}/${FILE}")
        file(STRINGS "${PATH}" DIRECTIVES REGEX "^[ \t]*#")
        set(OTHERS ${DIRECTIVES})
        list(FILTER OTHERS EXCLUDE REGEX "^#include ")
        if(OTHERS)
            list(APPEND RESULT "${FILE}")
            continue()
        endif()
        list(APPEND HEADERS ${DIRECTIVES})
        math(EXPR COUNT "${COUNT} + 1")
        string(APPEND BODIES "EMLREADER_FILE(${COUNT})\n#include \"${PATH}\"\n}\n")
        if(COUNT EQUAL EMLREADER_UNITY_BATCH)
            emlreader_unity_file("${PREFIX}_${NUMBER}" "${HEADERS}" "${BODIES}")
            list(APPEND RESULT "${CMAKE_CURRENT_BINARY_DIR}/${PREFIX}_${NUMBER}.cpp")
            math(EXPR NUMBER "${NUMBER} + 1")
            set(HEADERS "")
            set(BODIES "")
            set(COUNT 0)
        endif()
    endforeach()
    if(COUNT)
        emlreader_unity_file("${PREFIX}_${NUMBER}" "${HEADERS}" "${BODIES}")
        list(APPEND RESULT "${CMAKE_CURRENT_BINARY_DIR}/${PREFIX}_${NUMBER}.cpp")
    endif()
    set(${OUT} "${RESULT}" PARENT_SCOPE)
endfunction()

# Writes one batch. The namespaces of a file see those of the project that have the same names.
function(emlreader_unity_file NAME HEADERS BODIES)
    list(REMOVE_DUPLICATES HEADERS)
    list(JOIN HEADERS "\n" HEADERS)
    set(BEGIN "namespace eml::test {}\nnamespace emltool {}\n#define EMLREADER_FILE(number) namespace file##number { ")
    string(APPEND BEGIN "namespace eml { using namespace ::eml; namespace test { using namespace ::eml::test; } } "
           "namespace emltool { using namespace ::emltool; }\n")
    # Written only when it differs, so that nothing is compiled again for nothing.
    file(CONFIGURE OUTPUT "${NAME}.cpp" CONTENT "${HEADERS}\n${BEGIN}${BODIES}" @ONLY)
endfunction()
