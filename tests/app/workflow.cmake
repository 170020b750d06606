# The main form and the acquire-and-send workflow over the emulated module on a pseudo-terminal,
# loopback HTTP and SMTP peers and a fake data-line library.
if(NOT TARGET PkgConfig::HTTPLIB)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(HTTPLIB REQUIRED IMPORTED_TARGET GLOBAL cpp-httplib)
endif()
vantrel_add_test(workflow_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/MainFormTest.cpp ${CMAKE_CURRENT_LIST_DIR}/WorkflowTest.cpp
  LIBS vantrel_app vantrel_curl PkgConfig::HTTPLIB)
