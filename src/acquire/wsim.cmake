# The AT sessions over the serial channel, their parsers, and the acquisition progress dialog.
add_library(vantrel_acquire STATIC
  ${CMAKE_CURRENT_LIST_DIR}/WsimLog.cpp
  ${CMAKE_CURRENT_LIST_DIR}/WsimParsers.cpp
  ${CMAKE_CURRENT_LIST_DIR}/WsimSession.cpp
  ${CMAKE_CURRENT_LIST_DIR}/WsimMonitorSession.cpp
  ${CMAKE_CURRENT_LIST_DIR}/AcquisitionDialog.cpp)
target_link_libraries(vantrel_acquire PUBLIC vantrel_serial vantrel_message vantrel_dialogs vantrel_text
  PRIVATE vantrel_resources)
