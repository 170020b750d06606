vantrel_add_test(message_tests
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/MessageFacilityTest.cpp
  LIBS vantrel_message)
