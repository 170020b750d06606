# HTTP client, send URL and cookie against real loopback servers.
if(NOT TARGET PkgConfig::HTTPLIB)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(HTTPLIB REQUIRED IMPORTED_TARGET GLOBAL cpp-httplib)
endif()
vantrel_add_test(http_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/HttpTest.cpp
  LIBS vantrel_http vantrel_curl PkgConfig::HTTPLIB)
