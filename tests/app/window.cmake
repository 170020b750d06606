# The window program's composition on the in-memory host. It loads the HTTP library the program
# keeps beside itself, so the build tree's top is on its library path.
if(NOT TARGET PkgConfig::HTTPLIB)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(HTTPLIB REQUIRED IMPORTED_TARGET GLOBAL cpp-httplib)
endif()
vantrel_add_test(window_app_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/WindowAppTest.cpp
  LIBS vantrel_app PkgConfig::HTTPLIB)
set_target_properties(window_app_tests PROPERTIES BUILD_RPATH ${PROJECT_BINARY_DIR})
add_dependencies(window_app_tests vantrel-http)
