# The main form, the workflow and the windowless program.
add_library(vantrel_app STATIC
  ${CMAKE_CURRENT_LIST_DIR}/MainForm.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Workflow.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Reporter.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PlatformServices.cpp
  ${CMAKE_CURRENT_LIST_DIR}/WindowlessApp.cpp
  ${CMAKE_CURRENT_LIST_DIR}/WindowModuleLoader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LazyHttpTransport.cpp
  ${CMAKE_CURRENT_LIST_DIR}/WindowApp.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VersionDialog.cpp)
# The version dialog's lines; the date honours SOURCE_DATE_EPOCH for reproducible builds.
string(TIMESTAMP VANTREL_BUILD_DATE "%Y-%m-%d" UTC)
set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/WindowApp.cpp PROPERTIES COMPILE_DEFINITIONS
  "VANTREL_VERSION=\"${PROJECT_VERSION}\";VANTREL_BUILD_DATE=\"${VANTREL_BUILD_DATE}\"")
target_link_libraries(vantrel_app PUBLIC
  vantrel_acquire vantrel_serial vantrel_lookup vantrel_http vantrel_mail vantrel_launch
  vantrel_connection vantrel_dialogs vantrel_headless vantrel_settings vantrel_settingsui vantrel_message
  vantrel_platform vantrel_resources)
# The libraries the program loads when it needs them are built with it.
add_dependencies(vantrel_app vantrel-http)
