# Debian packages of the components. './dev package' builds them with cpack.
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL Runtime Development Tools)
if(VELMO_PYTHON)
  list(APPEND CPACK_COMPONENTS_ALL Python)
endif()
if(VELMO_MPI)
  list(APPEND CPACK_COMPONENTS_ALL Mpi MpiDevelopment)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The VELMOImageFile authors")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The VELMOImageFile authors")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON) # with the same version

set(library libvelmoimagefile${PROJECT_VERSION_MAJOR})
set(what "VELMOImageFile turns image files on disk into images of up to five dimensions
(X, Y, Z, channels, time) and images into files: headerless raw volumes, TIFF
with ImageJ's stacks, folders of numbered TIFF files, and Im6.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "scientific image files as images of five dimensions
${what}

This package holds the shared libraries.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvelmoimagefile-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "libboost-filesystem-dev (>= 1.74), liblog4cplus-dev (>= 2.0), pkg-config")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "scientific image files as images of five dimensions - development
${what}

This package holds the headers, the CMake packages VELMOImageFile and
VELMOHost, and the pkg-config modules velmo-image-file and velmo-host.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME velmo-image)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_COMPONENT_TOOLS_DEPENDS Runtime)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "look at, convert, join, split and resample scientific image files
${what}

This package holds the command-line tool velmo-image.")

if(VELMO_PYTHON)
  find_package(Python 3.10 REQUIRED COMPONENTS Interpreter)
  math(EXPR next_minor "${Python_VERSION_MINOR} + 1")
  set(python_versions "python3 (>= 3.${Python_VERSION_MINOR}), python3 (<< 3.${next_minor})") # of the compiled module
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-velmoimagefile)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${python_versions}, python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-dask, python3-xarray")
  set(CPACK_COMPONENT_PYTHON_DEPENDS Runtime)
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION "scientific image files as numpy, dask and xarray arrays
${what}

This package holds the Python package velmo_image.")
endif()

if(VELMO_MPI)
  set(CPACK_DEBIAN_MPI_PACKAGE_NAME libvelmoimagefile-mpi${PROJECT_VERSION_MAJOR})
  set(CPACK_DEBIAN_MPI_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_MPI_PACKAGE_RECOMMENDS openmpi-bin)
  set(CPACK_COMPONENT_MPI_DEPENDS Runtime)
  set(CPACK_COMPONENT_MPI_DESCRIPTION "scientific image files as images over the ranks of an MPI job
${what}

This package holds the shared library that distributes images over the ranks of
an MPI job, and the program velmo-image-mpi.")
  set(CPACK_DEBIAN_MPIDEVELOPMENT_PACKAGE_NAME libvelmoimagefile-mpi-dev)
  set(CPACK_DEBIAN_MPIDEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_COMPONENT_MPIDEVELOPMENT_DEPENDS Mpi Development)
  set(CPACK_COMPONENT_MPIDEVELOPMENT_DESCRIPTION "scientific image files over the ranks of an MPI job - development
${what}

This package holds the headers and the CMake package of the library for MPI.")
endif()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} key)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright COMPONENT ${component}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${key}_PACKAGE_NAME})
endforeach()
include(CPack)
