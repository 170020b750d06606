# The serial channel over real pseudo-terminals, and the connection-wait guard.
vantrel_add_test(vantrel_serial_tests
  SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/SerialPortTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/DelayThreadTest.cpp
  LIBS vantrel_serial vantrel_message vantrel_platform)
target_include_directories(vantrel_serial_tests PRIVATE ${CMAKE_CURRENT_LIST_DIR})
