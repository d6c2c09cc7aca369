# velmo_precompile(TARGET [header...]): headers of Boost, log4cplus and the standard library that most sources include are
# compiled once for the target, with the ones given. Headers with much inline code (CLI11) must not be among them: every
# source would compile that code. Off for a compiler cache, which cannot cache such sources.
set(velmo_precompile_default ON)
if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
  set(velmo_precompile_default OFF)
endif()
option(VELMO_PRECOMPILE "Precompile headers of the libraries" ${velmo_precompile_default})
function(velmo_precompile target)
  if(VELMO_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE
      <boost/filesystem/operations.hpp> <boost/make_shared.hpp> <log4cplus/logger.h>
      <algorithm> <functional> <map> <memory> <optional> <sstream> <string> <vector> ${ARGN})
  endif()
endfunction()
