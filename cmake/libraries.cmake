# What is shipped: the library over the operating system (libbrisk.so, BRISK.dll), and the same
# objects over the simulated bench (libbrisk_sim.so, brisk_sim.dll).

# The link of a library that exports the C interface. `entry` is what runs at load and unload.
function(brisk_shared_library name)
  add_library(${name} SHARED)
  target_link_libraries(${name} PRIVATE ${ARGN} brisk_library_entry)
  target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR}/include)
  if(WIN32)
    # The image base is fixed because a relocation inside the shared section would be applied to
    # the bytes that all processes see; without stdcall fix-up a wrong argument size in the export
    # list is a link error.
    set(definitions ${PROJECT_SOURCE_DIR}/src/platform/win32/${name}-${CMAKE_SYSTEM_PROCESSOR}.def)
    if(EXISTS ${definitions})
      target_sources(${name} PRIVATE ${definitions})
    endif()
    set_target_properties(${name} PROPERTIES PREFIX "")
    target_link_options(${name} PRIVATE
      -static -static-libgcc -static-libstdc++
      -Wl,--disable-stdcall-fixup -Wl,--no-insert-timestamp
      -Wl,--image-base,0x10000000 -Wl,--disable-dynamicbase)
  else()
    set(map ${PROJECT_SOURCE_DIR}/cmake/exports.map)
    target_link_options(${name} PRIVATE -Wl,--version-script=${map})
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${map})
    target_link_libraries(${name} PRIVATE ${CMAKE_DL_LIBS})
  endif()
endfunction()

brisk_shared_library(brisk brisk_objects brisk_platform)
if(WIN32)
  set_target_properties(brisk PROPERTIES OUTPUT_NAME BRISK)
endif()
if(TARGET brisk_sim_objects)
  brisk_shared_library(brisk_sim brisk_objects brisk_sim_objects)
endif()
