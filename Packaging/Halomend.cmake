# Repairs pictures as part of a build: include this file, or find_package(Halomend) where it is
# installed.
#
#   halomend_png(TARGET sprites FILES ui/button.png ui/star.png)
#
# adds a target, built by default, that repairs each file into one of the same name below the current
# binary directory. File names are relative to the current source directory. A picture with nothing to
# fix is copied. The target's property HALOMEND_PNG lists the repaired files.
#
# The target runs the Halomend of this build if there is such a target, and otherwise
# HALOMEND_EXECUTABLE, which is searched for beside this file and on the path.
include_guard(GLOBAL)

if(NOT TARGET Halomend)
  find_program(HALOMEND_EXECUTABLE Halomend HINTS ${CMAKE_CURRENT_LIST_DIR}/../../../bin REQUIRED)
endif()

function(halomend_png)
  cmake_parse_arguments(PARSE_ARGV 0 png "" TARGET FILES)
  if(NOT png_TARGET OR NOT png_FILES OR png_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "usage: halomend_png(TARGET <name> FILES <file>...)")
  endif()
  if(TARGET Halomend)
    set(program Halomend)  # CMake replaces this by the target's file, and builds it first
  else()
    set(program ${HALOMEND_EXECUTABLE})
  endif()
  set(outputs)
  foreach(file IN LISTS png_FILES)
    cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE
               OUTPUT_VARIABLE input)
    cmake_path(RELATIVE_PATH input BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
               OUTPUT_VARIABLE name)
    if(name MATCHES "^\\.\\./")
      message(FATAL_ERROR "halomend_png: ${file} is not below ${CMAKE_CURRENT_SOURCE_DIR}")
    endif()
    set(output ${CMAKE_CURRENT_BINARY_DIR}/${name})
    cmake_path(GET output PARENT_PATH folder)
    # The output appears whole or not at all, so a failed repair is repeated by the next build.
    add_custom_command(
      OUTPUT ${output}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
      COMMAND install -m 644 ${input} ${output}.part
      COMMAND ${program} -i ${output}.part
      COMMAND ${CMAKE_COMMAND} -E rename ${output}.part ${output}
      DEPENDS ${input} ${program}
      COMMENT "Repairing ${name}"
      VERBATIM)
    list(APPEND outputs ${output})
  endforeach()
  add_custom_target(${png_TARGET} ALL DEPENDS ${outputs})
  set_target_properties(${png_TARGET} PROPERTIES HALOMEND_PNG "${outputs}")
endfunction()
