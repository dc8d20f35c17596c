# add_room(name [SHARED] [NO_PCH] DEPENDS target... USES target... SOURCES file...)
# A room is a library whose include folder is its own folder, so that a room can include only what it links. DEPENDS: what
# its headers include, which whoever links the room links too. USES: what its sources alone include. NO_PCH: without the
# precompiled headers, for a room that does not link Qt and must not see it.
function(add_room name)
  cmake_parse_arguments(ROOM "SHARED;NO_PCH" "" "DEPENDS;USES;SOURCES" ${ARGN})
  if(ROOM_SHARED)
    add_library(${name} SHARED ${ROOM_SOURCES})
  else()
    add_library(${name} STATIC ${ROOM_SOURCES})
  endif()
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>)
  target_link_libraries(${name} PUBLIC ${ROOM_DEPENDS} PRIVATE ${ROOM_USES})
  if(NOT ROOM_NO_PCH)
    target_precompile_headers(${name} REUSE_FROM pch)
  endif()
  if(name IN_LIST PBT_COVERAGE)
    # Tasks count on several threads. The notes hold absolute paths and lie beside the objects: nothing to share.
    target_compile_options(${name} PRIVATE --coverage -fprofile-abs-path -fprofile-update=atomic)
    target_link_options(${name} INTERFACE --coverage)
    set_target_properties(${name} PROPERTIES CXX_COMPILER_LAUNCHER "")
  endif()
endfunction()

# add_room_test(name [NO_GUI] [NO_PCH] [LABELS label...] DEPENDS target... SOURCES file...)
# One GoogleTest executable for a room; each of its cases becomes a test of ctest. Its main is tests/support/TestMain.cpp:
# a QApplication on the offscreen platform, or with NO_GUI a QCoreApplication. With a sanitizer, where a start costs much,
# the executable is one test; the thread sanitizer's preset has those with the label `threads` alone. `sanitize_tests`
# builds what such a preset runs.
include(GoogleTest)
add_custom_target(sanitize_tests)

function(add_room_test name)
  cmake_parse_arguments(TEST "NO_GUI;NO_PCH" "" "DEPENDS;SOURCES;LABELS" ${ARGN})
  add_executable(${name} ${TEST_SOURCES})
  target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  if(TEST_NO_GUI)
    set(main test_main_no_gui)
  else()
    set(main test_main)
  endif()
  target_link_libraries(${name} PRIVATE ${TEST_DEPENDS} ${main} sanitize_support GTest::gtest)
  target_compile_definitions(${name} PRIVATE PBT_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
  if(NOT TEST_NO_PCH)
    target_precompile_headers(${name} REUSE_FROM pch)
  endif()
  set(properties)
  if(TEST_LABELS)
    list(APPEND properties LABELS "${TEST_LABELS}")
  endif()
  if(NOT PBT_SANITIZE)
    gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
      PROPERTIES TIMEOUT 240 ${properties})
  elseif(NOT "thread" IN_LIST PBT_SANITIZE OR "threads" IN_LIST TEST_LABELS)
    add_dependencies(sanitize_tests ${name})
    add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
    set_tests_properties(${name} PROPERTIES TIMEOUT 900 ${properties})
  endif()
endfunction()
