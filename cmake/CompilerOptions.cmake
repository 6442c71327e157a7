# Warnings and sanitizers for every target of the project; other projects that include this one
# get neither.
set(QBSETTINGS_SANITIZE "" CACHE STRING "Sanitizers, as in -fsanitize=...")

add_library(qb_options INTERFACE)
target_compile_options(qb_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow)
if(QBSETTINGS_SANITIZE)
  target_compile_options(qb_options INTERFACE -fsanitize=${QBSETTINGS_SANITIZE}
                                              -fno-omit-frame-pointer -O1)
  target_link_options(qb_options INTERFACE -fsanitize=${QBSETTINGS_SANITIZE})
  if(QBSETTINGS_SANITIZE MATCHES "undefined")
    target_compile_options(qb_options INTERFACE -fno-sanitize-recover=undefined)
  endif()
endif()

# Debian's optional -dev headers; a compiler cache if there is one.
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND PROJECT_IS_TOP_LEVEL)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()
