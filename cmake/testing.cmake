# Tests and fuzzers.
#
#   brisk_add_test(NAME source... [PLATFORM sim|system|alone|library] [TIMEOUT seconds]
#                  [LABELS label...])
#
# builds one GoogleTest program and runs it as one test. It links the library's objects and, by
# PLATFORM, the simulated bench (the default) or the operating system's platform; `alone` is the
# system's platform without the library's objects, `library` the shipped library itself. The label
# `threads` puts it into the ThreadSanitizer run.
#
#   brisk_add_fuzzer(NAME source...)
#
# builds fuzz_NAME over the simulated bench and runs it for BRISK_FUZZ_SECONDS, starting from the
# inputs in fuzz/NAME_corpus/.

set(BRISK_FUZZ_SECONDS 5 CACHE STRING "How long the tests run each fuzzer")

if(WIN32)
  # Wine with a prefix of this build's own. Test programs are linked statically, so that they find
  # no compiler run time missing.
  set(BRISK_WINE_PREFIX ${CMAKE_BINARY_DIR}/wine)
  set(BRISK_WINE_ENVIRONMENT
    "WINEPREFIX=${BRISK_WINE_PREFIX};WINEDLLOVERRIDES=mscoree,mshtml=;WINEDEBUG=-all")
  find_program(BRISK_WINE64 NAMES wine64 wine64-stable PATHS /usr/lib/wine
    NO_CMAKE_FIND_ROOT_PATH)
  find_program(BRISK_WINESERVER NAMES wineserver64 wineserver PATHS /usr/lib/wine
    NO_CMAKE_FIND_ROOT_PATH)
endif()

if(WIN32 OR BRISK_SANITIZE)
  # The packaged GoogleTest is neither a Windows library nor instrumented: build it here.
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/gtest EXCLUDE_FROM_ALL)
else()
  find_package(GTest REQUIRED)
endif()

# Under Wine the prefix is made and its server started before the first test that needs them; the
# server ends after the last one.
if(WIN32 AND CMAKE_SIZEOF_VOID_P EQUAL 8 AND BRISK_WINE64)
  foreach(action start stop)
    add_test(NAME wine_${action}
      COMMAND ${PROJECT_SOURCE_DIR}/scripts/wine-server ${action} ${BRISK_WINE64}
        ${BRISK_WINESERVER})
    set_tests_properties(wine_${action} PROPERTIES
      TIMEOUT 300 ENVIRONMENT "${BRISK_WINE_ENVIRONMENT}")
  endforeach()
  set_tests_properties(wine_start PROPERTIES FIXTURES_SETUP wine)
  set_tests_properties(wine_stop PROPERTIES FIXTURES_CLEANUP wine)
endif()

# What the ThreadSanitizer run builds.
add_custom_target(brisk_threads_tests)

# The libraries that a test or fuzzer of this PLATFORM links.
function(brisk_platform_libraries result platform)
  if(platform STREQUAL "sim")
    set(${result} brisk_objects brisk_sim_objects PARENT_SCOPE)
  elseif(platform STREQUAL "system")
    set(${result} brisk_objects brisk_platform PARENT_SCOPE)
  elseif(platform STREQUAL "alone")
    set(${result} brisk_platform PARENT_SCOPE)
  elseif(platform STREQUAL "library")
    set(${result} brisk PARENT_SCOPE)
  else()
    message(FATAL_ERROR "PLATFORM ${platform}: expected sim, system, alone or library")
  endif()
endfunction()

# Gives a test this build's Wine prefix, and its libraries to find.
function(brisk_under_wine)
  set_tests_properties(${ARGV} PROPERTIES
    ENVIRONMENT "${BRISK_WINE_ENVIRONMENT};WINEPATH=Z:${CMAKE_BINARY_DIR}"
    FIXTURES_REQUIRED wine)
endfunction()

# Registers a program as a test where this machine can run it: 64-bit Windows programs run under
# Wine and must say LAST_WORDS, by default GoogleTest's; 32-bit ones, each in a folder of its own,
# where scripts/run-win32 finds a way.
function(brisk_register_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "TIMEOUT;LAST_WORDS" "LABELS;ARGUMENTS")
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  if(WIN32 AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/${name}.run)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${folder})
    add_test(NAME ${name}
      COMMAND ${PROJECT_SOURCE_DIR}/scripts/run-win32 ${folder} ${name}.exe ${ARG_ARGUMENTS})
    set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77)
  elseif(WIN32)
    if(NOT BRISK_WINE64)
      return()
    endif()
    if(NOT ARG_LAST_WORDS)
      set(ARG_LAST_WORDS "[  PASSED  ]")
    endif()
    add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/scripts/run-wine "${ARG_LAST_WORDS}"
      ${BRISK_WINE64} $<TARGET_FILE:${name}> ${ARG_ARGUMENTS})
    brisk_under_wine(${name})
  else()
    add_test(NAME ${name} COMMAND ${name} ${ARG_ARGUMENTS})
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}")
endfunction()

function(brisk_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "PLATFORM;TIMEOUT" "LABELS")
  if(NOT ARG_PLATFORM)
    set(ARG_PLATFORM sim)
  endif()
  if(NOT ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "${name}: no sources; they come before LABELS")
  endif()
  brisk_platform_libraries(platformLibraries ${ARG_PLATFORM})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_compile_options(${name} PRIVATE ${BRISK_QUICK_COMPILE})
  target_link_libraries(${name} PRIVATE
    ${platformLibraries} brisk_warnings GTest::gtest_main)
  if(WIN32)
    target_link_options(${name} PRIVATE -static)
    # GCC 12 sees overlapping and oversized copies inside the standard library that cannot happen.
    target_compile_options(${name} PRIVATE -Wno-restrict -Wno-array-bounds -Wno-stringop-overread)
  endif()
  # The 32-bit shipped library is staged with its programs: tests/win32.
  if(NOT (WIN32 AND CMAKE_SIZEOF_VOID_P EQUAL 4 AND ARG_PLATFORM STREQUAL "library"))
    brisk_register_test(${name} TIMEOUT "${ARG_TIMEOUT}" LABELS ${ARG_LABELS})
  endif()
  if(ARG_PLATFORM MATCHES "system|library")
    brisk_uses_shared_section(${name})
  endif()
  if("threads" IN_LIST ARG_LABELS)
    add_dependencies(brisk_threads_tests ${name})
  endif()
endfunction()

# Tests over the operating system select device types in the section that all processes share, so
# they run one at a time.
function(brisk_uses_shared_section name)
  if(TEST ${name})
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK brisk_shared_section)
  endif()
endfunction()

function(brisk_add_fuzzer name)
  set(target fuzz_${name})
  set(seeds ${PROJECT_SOURCE_DIR}/fuzz/${name}_corpus)
  set(findings ${CMAKE_BINARY_DIR}/fuzz/${name})
  add_executable(${target} ${ARGN})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE brisk_objects brisk_sim_objects brisk_warnings)
  target_link_options(${target} PRIVATE -fsanitize=fuzzer)
  file(MAKE_DIRECTORY ${findings}/corpus)
  set(inputs ${findings}/corpus)
  if(EXISTS ${seeds})
    list(APPEND inputs ${seeds})
  endif()
  math(EXPR timeout "${BRISK_FUZZ_SECONDS} + 120")
  add_test(NAME ${target} COMMAND ${target} -max_total_time=${BRISK_FUZZ_SECONDS} -timeout=20
    -print_final_stats=1 -artifact_prefix=${findings}/ ${inputs})
  set_tests_properties(${target} PROPERTIES LABELS fuzz TIMEOUT ${timeout})
endfunction()
