# The AT parsers, the acquisition dialog and the monitor session, against the emulated module and
# scripted modules on real pseudo-terminals, and the recorded conversations replayed.
vantrel_add_test(vantrel_wsim_tests
  SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/WsimParsersTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/AcquisitionDialogTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/WsimMonitorSessionTest.cpp
    ${CMAKE_CURRENT_LIST_DIR}/WsimTranscriptTest.cpp
  LIBS vantrel_acquire vantrel_headless vantrel_serial vantrel_message vantrel_platform vantrel_resources)
target_include_directories(vantrel_wsim_tests PRIVATE ${CMAKE_CURRENT_LIST_DIR})
target_compile_definitions(vantrel_wsim_tests PRIVATE
  VANTREL_TRANSCRIPT_DIR="${PROJECT_SOURCE_DIR}/tests/data/transcripts")
