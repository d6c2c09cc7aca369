# Installation in three components: Runtime (the libraries), Development (headers, CMake packages, pkg-config files) and
# Tools. No installed file contains the path of the prefix, so that the prefix can be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
foreach(folder BINDIR LIBDIR INCLUDEDIR)
  if(VELMO_INSTALL AND IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
    message(FATAL_ERROR "CMAKE_INSTALL_${folder} is a folder below the prefix, not '${CMAKE_INSTALL_${folder}}'")
  endif()
endforeach()
set(VELMO_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/velmo)
file(RELATIVE_PATH velmo_libraries_from_tools /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
set(velmo_install_templates ${CMAKE_CURRENT_LIST_DIR})

# velmo_export_only_velmo(TARGET): the library exports only velmo:: names.
function(velmo_export_only_velmo target)
  set(map ${velmo_install_templates}/velmo-symbols.map)
  target_link_options(${target} PRIVATE LINKER:--version-script=${map})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()

# velmo_install_library(TARGET HEADERS folder/
#   PKG_CONFIG name DESCRIPTION text [REQUIRES module...] [LIBRARIES flag...] [RUNTIME component] [DEVELOPMENT component])
# Installs a library as a CMake package with the name of the target (cmake/TARGETConfig.cmake.in) and as a pkg-config
# module, in the components Runtime and Development unless others are given.
function(velmo_install_library target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "HEADERS;PKG_CONFIG;DESCRIPTION;RUNTIME;DEVELOPMENT" "REQUIRES;LIBRARIES")
  if(NOT VELMO_INSTALL)
    return()
  endif()
  if(NOT arg_RUNTIME)
    set(arg_RUNTIME Runtime)
    set(arg_DEVELOPMENT Development)
  endif()
  install(TARGETS ${target} EXPORT ${target}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${arg_RUNTIME} NAMELINK_COMPONENT ${arg_DEVELOPMENT}
    INCLUDES DESTINATION ${VELMO_INSTALL_INCLUDEDIR})
  # An external host is in another folder.
  set_target_properties(${target} PROPERTIES INSTALL_RPATH $ORIGIN INSTALL_RPATH_USE_LINK_PATH ON)
  install(DIRECTORY ${arg_HEADERS} DESTINATION ${VELMO_INSTALL_INCLUDEDIR} COMPONENT ${arg_DEVELOPMENT}
    FILES_MATCHING PATTERN *.h PATTERN detail EXCLUDE)
  velmo_install_cmake_package(${target})
  velmo_install_pkg_config(${target})
endfunction()

# Uses the arguments of velmo_install_library.
function(velmo_install_cmake_package target)
  set(folder ${CMAKE_INSTALL_LIBDIR}/cmake/${target})
  configure_package_config_file(${velmo_install_templates}/${target}Config.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/${target}Config.cmake INSTALL_DESTINATION ${folder})
  write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/${target}ConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
  install(
    FILES ${CMAKE_CURRENT_BINARY_DIR}/${target}Config.cmake ${CMAKE_CURRENT_BINARY_DIR}/${target}ConfigVersion.cmake
    DESTINATION ${folder} COMPONENT ${arg_DEVELOPMENT})
  install(EXPORT ${target} FILE ${target}Targets.cmake NAMESPACE VELMO:: DESTINATION ${folder}
    COMPONENT ${arg_DEVELOPMENT})
endfunction()

# Uses the arguments of velmo_install_library.
function(velmo_install_pkg_config target)
  set(folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH prefix /prefix/${folder} /prefix)
  string(REGEX REPLACE "/$" "" prefix "${prefix}")
  list(JOIN arg_REQUIRES ", " requires)
  list(JOIN arg_LIBRARIES " " libraries)
  get_target_property(arg_LIBRARY ${target} OUTPUT_NAME)
  if(NOT arg_LIBRARY)
    set(arg_LIBRARY ${target})
  endif()
  configure_file(${velmo_install_templates}/velmo.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${arg_PKG_CONFIG}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${arg_PKG_CONFIG}.pc DESTINATION ${folder}
    COMPONENT ${arg_DEVELOPMENT})
endfunction()

# velmo_install_tool(TARGET MAN_PAGE file COMPLETION file): files of the current folder.
function(velmo_install_tool target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "MAN_PAGE;COMPLETION" "")
  if(NOT VELMO_INSTALL)
    return()
  endif()
  install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tools)
  set_target_properties(${target} PROPERTIES
    INSTALL_RPATH $ORIGIN/${velmo_libraries_from_tools} INSTALL_RPATH_USE_LINK_PATH ON)
  install(FILES ${arg_MAN_PAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Tools)
  install(FILES ${arg_COMPLETION} RENAME ${target}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT Tools)
endfunction()
