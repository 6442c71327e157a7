# qb_test_units(RESULT NAME SOURCES...): in a unity build, files of the build tree that each include
# several of the test files; else the sources themselves.
#
# Each test file has its own short names and `using namespace`. So in a unit all headers stand in
# front, and behind them each file in a namespace of its own, where it finds its headers read already.
# A file that adds to a namespace of others' cannot stand so, and is compiled by itself.
set(QB_TEST_UNIT_SIZE 8 CACHE STRING "Test files in one unit of a unity build")

function(qb_test_units result name)
  if(NOT CMAKE_UNITY_BUILD)
    set(${result} ${ARGN} PARENT_SCOPE)
    return()
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${ARGN}) # for their headers
  set(units "")
  set(members "")
  foreach(source ${ARGN})
    file(STRINGS ${source} opened REGEX "^namespace [A-Za-z:_]+ {")
    list(FILTER opened EXCLUDE REGEX "_test {")
    if(opened)
      list(APPEND units ${source})
    else()
      list(APPEND members ${source})
    endif()
  endforeach()

  set(number 0)
  while(members)
    list(SUBLIST members 0 ${QB_TEST_UNIT_SIZE} unit_members)
    list(REMOVE_ITEM members ${unit_members})
    set(headers "")
    set(includes "")
    foreach(source ${unit_members})
      file(STRINGS ${source} lines REGEX "^#include <")
      list(APPEND headers ${lines})
      file(RELATIVE_PATH own ${CMAKE_CURRENT_SOURCE_DIR} ${source})
      string(MAKE_C_IDENTIFIER ${own} own)
      string(APPEND includes "namespace ${own} {\n#include \"${source}\"\n}\n")
    endforeach()
    list(REMOVE_DUPLICATES headers)
    list(JOIN headers "\n" headers)
    set(unit ${CMAKE_CURRENT_BINARY_DIR}/units/${name}_${number}.cpp)
    file(CONFIGURE OUTPUT ${unit} CONTENT "${headers}\n\n${includes}" @ONLY)
    list(APPEND units ${unit})
    math(EXPR number "${number} + 1")
  endwhile()
  set(${result} ${units} PARENT_SCOPE)
endfunction()
