# SPDX-License-Identifier: Apache-2.0
# One object library per area of the tree: every *.cc / *.c directly in DIR belongs to it.
# Adding a file to an area needs no edit here; the folder is the unit of the architecture.
#
#   velmora_area(NAME <target> DIR <dir> [DEPS <targets...>])
function(velmora_area)
  cmake_parse_arguments(A "" "NAME;DIR" "DEPS" ${ARGN})
  file(GLOB _srcs CONFIGURE_DEPENDS ${A_DIR}/*.cc ${A_DIR}/*.c)
  if(NOT _srcs)
    # An area may be empty while it is being built; keep the target so that others can name it.
    set(_srcs ${PROJECT_SOURCE_DIR}/cmake/empty.c)
  endif()
  add_library(${A_NAME} OBJECT ${_srcs})
  target_include_directories(${A_NAME} PRIVATE ${A_DIR})
  target_link_libraries(${A_NAME} PUBLIC velmora_platform_api velmora_public_api PkgConfig::GLIB ${A_DEPS})
  set_property(GLOBAL APPEND PROPERTY VELMORA_AREAS ${A_NAME})
endfunction()

# One GoogleTest executable per test folder; every TEST runs as its own CTest entry and so in its own
# process (process-wide caches of the library start fresh in each).
#
#   velmora_test_dir(NAME <exe> DIR <dir> LIBS <libs...>)
function(velmora_test_dir)
  cmake_parse_arguments(T "" "NAME;DIR" "LIBS" ${ARGN})
  file(GLOB _srcs CONFIGURE_DEPENDS ${T_DIR}/*.cc)
  if(NOT _srcs)
    return()
  endif()
  add_executable(${T_NAME} ${_srcs})
  target_link_libraries(${T_NAME} PRIVATE velmora_test_support ${T_LIBS} GTest::gtest GTest::gmock)
  # Tests that read the tree (the naming test scans src/) find it here.
  target_compile_definitions(${T_NAME} PRIVATE VELMORA_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  target_compile_definitions(${T_NAME} PRIVATE VELMORA_PROJECT_VERSION="${PROJECT_VERSION}")
  gtest_discover_tests(${T_NAME} DISCOVERY_MODE PRE_TEST
                       PROPERTIES ENVIRONMENT "VELMORA_BUILD_DIR=${PROJECT_BINARY_DIR}"
                                  ENVIRONMENT_MODIFICATION "LSAN_OPTIONS=set:suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0"
                                  TIMEOUT 60)
endfunction()
