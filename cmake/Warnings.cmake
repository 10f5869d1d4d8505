# The warnings that every target is compiled with. They are errors.
add_library(emlreader_warnings INTERFACE)
target_compile_options(emlreader_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
