# The position service and its cache against a loopback position service.
if(NOT TARGET PkgConfig::HTTPLIB)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(HTTPLIB REQUIRED IMPORTED_TARGET GLOBAL cpp-httplib)
endif()
vantrel_add_test(lookup_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/PositionServiceTest.cpp
  LIBS vantrel_lookup vantrel_curl PkgConfig::HTTPLIB)
