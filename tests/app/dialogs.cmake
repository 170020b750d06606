vantrel_add_test(vantrel_dialogs_test
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/HeadlessUiTest.cpp
  LIBS vantrel_dialogs vantrel_headless vantrel_resources)
