# libvantrel-qt.so, the window module: main window, tray icon, single instance and clipboard on the
# Qt renderer. The program loads it, beside itself, only when it needs a display; only its entry
# point is exported, and the static libraries inside stay private to it.
find_package(Qt6 REQUIRED COMPONENTS Widgets Network)
add_library(vantrel-qt MODULE
  ${CMAKE_CURRENT_LIST_DIR}/QtWindowModule.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtMainWindow.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtTrayIcon.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtInstanceGuard.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QtClipboard.cpp)
target_link_libraries(vantrel-qt PRIVATE vantrel_qtui Qt6::Widgets Qt6::Network ${CMAKE_DL_LIBS})
target_include_directories(vantrel-qt PRIVATE ${CMAKE_CURRENT_LIST_DIR})
target_link_options(vantrel-qt PRIVATE "LINKER:--exclude-libs,ALL" "LINKER:--no-undefined")
set_target_properties(vantrel-qt PROPERTIES
  PREFIX "lib"
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON
  LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
