# Warnings of the project's own targets. VELMO_WERROR turns them into errors; the presets of developers set it.
add_library(velmo_warnings INTERFACE)
cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH velmo_root)
target_compile_options(velmo_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${VELMO_WERROR}>:-Werror>
  # Source paths in messages and exceptions are relative to the repository.
  -fmacro-prefix-map=${velmo_root}/=)
