# Compiler, warnings, sanitizers, ccache: what every target of the project shares.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_AUTOGEN_ORIGIN_DEPENDS OFF)  # moc reads sources alone: it need not wait for libraries
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  # Precompiled headers and ccache only agree with the sloppiness; the other two let build folders share what they built.
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
      CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE_PROGRAM})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT CMAKE_DISABLE_PRECOMPILE_HEADERS)
    add_compile_options(-fpch-preprocess)
  endif()
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror
                    -Wno-error=deprecated-declarations)
# g++ 12 takes std::string's own copies for overflows once -O3 has inlined them (a known false alarm).
add_compile_options($<$<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU>>:-Wno-error=stringop-overflow>
                    $<$<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU>>:-Wno-error=restrict>
                    $<$<AND:$<CONFIG:Release>,$<CXX_COMPILER_ID:GNU>>:-Wno-error=array-bounds>)
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS BOOST_ALL_NO_LIB BOOST_BIND_GLOBAL_PLACEHOLDERS
                        BOOST_ASIO_DISABLE_FENCED_BLOCK)

if(PBT_SANITIZE)
  list(JOIN PBT_SANITIZE "," sanitizers)
  add_compile_options(-fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${sanitizers})
endif()

if(PBT_FUZZ)  # libFuzzer's counters in every room; its main in the targets alone (fuzzing/CMakeLists.txt)
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()
