# The serial channel over real pseudo-terminals and the port it resolves "COM1:" to.
add_library(vantrel_serial_testsupport STATIC
  ${CMAKE_CURRENT_LIST_DIR}/support/Transcript.cpp)
target_include_directories(vantrel_serial_testsupport PUBLIC ${CMAKE_CURRENT_LIST_DIR}/support ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(vantrel_serial_testsupport PUBLIC vantrel_serial vantrel_platform vantrel_testsupport)

vantrel_add_test(vantrel_serial_tests
  SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/SerialPortTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/SerialPortFailureTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/DelayThreadTest.cpp
  LIBS vantrel_serial_testsupport vantrel_serial vantrel_message vantrel_platform)
target_compile_definitions(vantrel_serial_testsupport PUBLIC
  VANTREL_TRANSCRIPT_DIR="${PROJECT_SOURCE_DIR}/tests/data/transcripts")
