# How every project of this repository is compiled: included once by the project that the user configures.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)

option(VELMO_INSTALL "Install libraries, headers and tools" ${PROJECT_IS_TOP_LEVEL})
option(VELMO_WERROR "Treat warnings as errors" OFF)
set(VELMO_SANITIZE "" CACHE STRING "Sanitizers for everything: 'address' (with undefined behaviour), 'thread' or 'fuzzer'")

list(APPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})
include(VelmoWarnings)
include(VelmoSanitizers)
include(VelmoPrecompile)
include(VelmoInstall)

# What base and host need.
find_package(Boost 1.74 REQUIRED COMPONENTS filesystem)
find_package(PkgConfig REQUIRED)
pkg_check_modules(log4cplus REQUIRED IMPORTED_TARGET log4cplus)
