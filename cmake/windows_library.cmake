# brisk_windows_exports(TARGET NAME [row...]): gives the Windows library NAME.dll exactly the exports
# of exports.txt, and those of further rows in the same form.
#
# Two definition files are written for the build's architecture: the linker's (exported name on the
# left, symbol on the right) and the import library's (the symbol that a client of the C headers
# refers to, and the exported name that it stands for). The linker's own import library would lack
# the symbols with argument sizes, so it is replaced after the link.

enable_language(RC)
if(NOT BRISK_EXPORT_LIST)
  set(BRISK_EXPORT_LIST ${PROJECT_SOURCE_DIR}/cmake/exports.txt)
endif()

function(brisk_export_lines exportsResult importsResult)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${BRISK_EXPORT_LIST})
  file(STRINGS ${BRISK_EXPORT_LIST} rows REGEX "^[A-Za-z]")
  list(APPEND rows ${ARGN})
  set(exports "")
  set(imports "")
  foreach(row IN LISTS rows)
    if(NOT row MATCHES "^([A-Za-z0-9_]+) ([0-9]+|cdecl) ([^ ]+)( ([A-Za-z0-9_]+))?$")
      message(FATAL_ERROR "${BRISK_EXPORT_LIST}: cannot read \"${row}\"")
    endif()
    set(name ${CMAKE_MATCH_1})
    set(bytes ${CMAKE_MATCH_2})
    set(exported ${CMAKE_MATCH_3})
    set(behind ${CMAKE_MATCH_5})
    if(exported STREQUAL "=")
      set(exported ${name})
    endif()
    if(NOT behind)
      set(behind ${name})
    endif()
    set(suffix "")
    if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND NOT bytes STREQUAL "cdecl")
      set(suffix "@${bytes}")
    endif()
    string(APPEND exports "  \"${exported}\" = ${behind}${suffix}\n")
    string(APPEND imports "  ${name}${suffix} == \"${exported}\"\n")
  endforeach()
  set(${exportsResult} "${exports}" PARENT_SCOPE)
  set(${importsResult} "${imports}" PARENT_SCOPE)
endfunction()

function(brisk_windows_exports target name)
  brisk_export_lines(exports imports ${ARGN})
  set(exportFile ${CMAKE_BINARY_DIR}/${target}_exports.def)
  set(importFile ${CMAKE_BINARY_DIR}/${target}_imports.def)
  # Not file(CONFIGURE): the decorated names hold pairs of @.
  file(GENERATE OUTPUT ${exportFile} CONTENT "LIBRARY ${name}.dll\nEXPORTS\n${exports}")
  file(GENERATE OUTPUT ${importFile} CONTENT "LIBRARY ${name}.dll\nEXPORTS\n${imports}")
  set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME ${name})
  target_sources(${target} PRIVATE ${exportFile})
  find_program(BRISK_DLLTOOL ${BRISK_TRIPLET}-dlltool REQUIRED)
  # -k: a client's symbol carries the argument size, the plain exported name does not.
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${BRISK_DLLTOOL} -k -d ${importFile} -l $<TARGET_LINKER_FILE:${target}> VERBATIM)
endfunction()

# Puts the port-access driver into a 32-bit library; there is none for 64-bit Windows.
function(brisk_carry_driver target)
  if(NOT TARGET kgated)
    return()
  endif()
  get_property(resource GLOBAL PROPERTY BRISK_DRIVER_RESOURCE)
  get_property(image GLOBAL PROPERTY BRISK_DRIVER_IMAGE)
  target_sources(${target} PRIVATE ${resource})
  set_source_files_properties(${resource} PROPERTIES OBJECT_DEPENDS ${image})
  add_dependencies(${target} kgated)
endfunction()
