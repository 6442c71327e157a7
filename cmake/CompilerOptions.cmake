# Warnings and sanitizers for every target of the project; other projects that include this one
# get neither.
set(QBSETTINGS_SANITIZE "" CACHE STRING "Sanitizers, as in -fsanitize=...")

add_library(qb_options INTERFACE)
target_compile_options(qb_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow)
# A library that serves a header alone costs each start its loading.
target_link_options(qb_options INTERFACE LINKER:--as-needed)
if(QBSETTINGS_SANITIZE)
  target_compile_options(qb_options INTERFACE -fsanitize=${QBSETTINGS_SANITIZE}
                                              -fno-omit-frame-pointer -O1 -g1)
  target_link_options(qb_options INTERFACE -fsanitize=${QBSETTINGS_SANITIZE})
  if(QBSETTINGS_SANITIZE MATCHES "undefined")
    target_compile_options(qb_options INTERFACE -fno-sanitize-recover=undefined)
  endif()
endif()

# For what runs once: making it fast would take longer than it saves. To be linked behind qb_options.
add_library(qb_unoptimised INTERFACE)
target_compile_options(qb_unoptimised INTERFACE -O0 -g1)

# A compiler cache if there is one; it must be told that precompiled headers are no obstacle.
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND PROJECT_IS_TOP_LEVEL)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
                                  CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE_PROGRAM})
endif()

option(QBSETTINGS_PCH "Precompile the heavy headers of other libraries" ${PROJECT_IS_TOP_LEVEL})

# qb_precompile(TARGET HEADERS...): these are a third of the time of a build, but for one that includes
# many sources in a unit. Never the project's own, so that an edit of them costs what it did; each file
# still includes what it needs, which the lint build proves, as it has none.
function(qb_precompile target)
  if(QBSETTINGS_PCH AND NOT CMAKE_UNITY_BUILD)
    if(ARGV1 STREQUAL "REUSE_FROM")
      target_precompile_headers(${target} REUSE_FROM ${ARGV2})
    else()
      target_precompile_headers(${target} PRIVATE ${ARGN})
    endif()
  endif()
endfunction()
set(QB_HEAVY_HEADERS <boost/any.hpp> <boost/function.hpp> <boost/make_shared.hpp> <boost/optional.hpp>
                     <boost/shared_ptr.hpp> <boost/thread/lock_types.hpp>
                     <boost/thread/shared_mutex.hpp> <boost/variant.hpp> <algorithm> <filesystem>
                     <functional> <map> <memory> <string> <utility> <vector>)
