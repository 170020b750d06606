vantrel_add_test(cli_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/CommandLineTest.cpp
  LIBS vantrel_cli)
