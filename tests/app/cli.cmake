vantrel_add_test(cli_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/CommandLineTest.cpp ${CMAKE_CURRENT_LIST_DIR}/ProgramTest.cpp
  LIBS vantrel_cli)
add_dependencies(cli_tests vantrel)
target_compile_definitions(cli_tests PRIVATE VANTREL_EXE="$<TARGET_FILE:vantrel>")
