# What is shipped: the library over the operating system (libbrisk.so, BRISK.dll), and the same
# objects over the simulated bench (libbrisk_sim.so, brisk_sim.dll).

if(WIN32)
  include(${CMAKE_CURRENT_LIST_DIR}/windows_library.cmake)
endif()

# The link of a library that exports the C interface. `entry` is what runs at load and unload.
function(brisk_shared_library name)
  add_library(${name} SHARED)
  target_link_libraries(${name} PRIVATE ${ARGN} brisk_library_entry)
  target_include_directories(${name} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:include>)
  if(WIN32)
    # The image base is fixed because a relocation inside the shared section would be applied to
    # the bytes that all processes see; without stdcall fix-up a wrong argument size in the export
    # list is a link error.
    if(name STREQUAL "brisk")
      brisk_windows_exports(${name} BRISK)
      brisk_carry_driver(${name})
    else()
      brisk_windows_exports(${name} ${name} "BriskSimConfigure 12 =" "BriskSimSnapshot 16 =")
    endif()
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
brisk_shared_library(brisk_sim brisk_objects brisk_sim_objects)
