# The target sanitize_support: what a program built with a sanitizer links so that Qt, which is not instrumented, causes
# no false report. Every executable links it; without a sanitizer it is empty. See docs/workshop.md.
if("thread" IN_LIST PBT_SANITIZE)
  add_library(sanitize_support OBJECT ${CMAKE_SOURCE_DIR}/tests/support/ThreadSanitizerQt.cpp)
  target_link_libraries(sanitize_support PUBLIC Qt5::Core ${CMAKE_DL_LIBS} PRIVATE Qt5::CorePrivate)
elseif(PBT_SANITIZE)
  add_library(sanitize_support OBJECT ${CMAKE_SOURCE_DIR}/tests/support/AddressSanitizerQt.cpp)
else()
  add_library(sanitize_support INTERFACE)
endif()
if(PBT_SANITIZE)
  set_target_properties(sanitize_support PROPERTIES AUTOMOC OFF)
endif()
