# qbsettings_generate(TARGET FILES... [NAMESPACE N])
#
# Makes a header of typed keys of each settings file with "qbsettings generate" when the target is
# built, and again when the file has changed, or the texts beside it. The header of "plotter.settings" is included as
# <plotter.settings.hpp> by the sources of the target. The program is that of the same build, or
# QBSETTINGS_PROGRAM; where one builds for another machine, set that to a program of the own one.
function(qbsettings_generate target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "NAMESPACE" "")
  if(NOT arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "qbsettings_generate: no settings file is named for ${target}")
  endif()
  if(TARGET qbsettings)
    set(program $<TARGET_FILE:qbsettings>)
    set(depends qbsettings)
  else()
    find_program(QBSETTINGS_PROGRAM qbsettings HINTS "${QBSETTINGS_PROGRAM_DIR}"
                 DOC "The program that makes headers of settings files")
    if(NOT QBSETTINGS_PROGRAM)
      message(FATAL_ERROR "qbsettings_generate: the program qbsettings is not installed")
    endif()
    set(program "${QBSETTINGS_PROGRAM}")
    set(depends "${QBSETTINGS_PROGRAM}")
  endif()
  set(namespace "")
  if(arg_NAMESPACE)
    set(namespace --namespace "${arg_NAMESPACE}")
  endif()
  set(folder "${CMAKE_CURRENT_BINARY_DIR}/${target}_settings")
  file(MAKE_DIRECTORY "${folder}")
  set(headers "")
  foreach(file IN LISTS arg_UNPARSED_ARGUMENTS)
    get_filename_component(file "${file}" ABSOLUTE)
    get_filename_component(name "${file}" NAME)
    set(header "${folder}/${name}.hpp")
    if(header IN_LIST headers)
      message(FATAL_ERROR "qbsettings_generate: two files are named ${name}")
    endif()
    # Which of the texts beside it are those of its product, the file says.
    get_filename_component(beside "${file}" DIRECTORY)
    file(GLOB texts CONFIGURE_DEPENDS "${beside}/*.texts.json")
    add_custom_command(
      OUTPUT "${header}"
      COMMAND "${program}" generate "${file}" ${namespace} --to "${header}"
      DEPENDS "${file}" ${texts} ${depends}
      COMMENT "Making typed keys of ${name}"
      VERBATIM)
    list(APPEND headers "${header}")
  endforeach()
  target_sources(${target} PRIVATE ${headers})
  target_include_directories(${target} PRIVATE "${folder}")
endfunction()
