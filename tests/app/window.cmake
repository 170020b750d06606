# The window program's composition on the in-memory host. It loads the HTTP library the program
# keeps beside itself, so it is built beside that library, at the build tree's top: the loader
# finds it there by itself, as it does for the program, not through a run path.
if(NOT TARGET PkgConfig::HTTPLIB)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(HTTPLIB REQUIRED IMPORTED_TARGET GLOBAL cpp-httplib)
endif()
vantrel_add_test(window_app_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/WindowAppTest.cpp
  LIBS vantrel_app PkgConfig::HTTPLIB)
set_target_properties(window_app_tests PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
add_dependencies(window_app_tests vantrel-http)
