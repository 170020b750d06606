# The main form, the workflow and the windowless program.
add_library(vantrel_app STATIC
  ${CMAKE_CURRENT_LIST_DIR}/MainForm.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Workflow.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Reporter.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PlatformServices.cpp
  ${CMAKE_CURRENT_LIST_DIR}/WindowlessApp.cpp)
target_link_libraries(vantrel_app PUBLIC
  vantrel_acquire vantrel_serial vantrel_lookup vantrel_http vantrel_mail vantrel_launch
  vantrel_connection vantrel_dialogs vantrel_headless vantrel_settings vantrel_message
  vantrel_platform vantrel_curl vantrel_qtclipboard)
