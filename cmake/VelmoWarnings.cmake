# Warnings of the project's own targets. All warnings are errors.
add_library(velmo_warnings INTERFACE)
target_compile_options(velmo_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
  # Source paths in messages and exceptions are relative to the project.
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
