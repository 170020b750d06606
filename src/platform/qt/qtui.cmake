# The Qt renderer: dialog host, UI thread, message boxes and file dialogs on Qt Widgets.
# Position-independent, because the window module that links it is a shared library loaded only when a display is needed.
find_package(Qt6 REQUIRED COMPONENTS Widgets)
add_library(vantrel_qtui STATIC
  ${CMAKE_CURRENT_LIST_DIR}/DialogUnits.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtControls.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtDialogHost.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtFileDialogs.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtMessageBox.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtModalRun.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtSheetHost.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtUiThread.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtWindowHandle.cpp)
set_target_properties(vantrel_qtui PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_link_libraries(vantrel_qtui PUBLIC vantrel_port Qt6::Widgets)
