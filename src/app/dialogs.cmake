# The dialog-template host: reads DLGTEMPLATE resources and builds their controls into a dialog host;
# the readers of the menu, accelerator and icon resources beside it.
add_library(vantrel_dialogs STATIC
  ${CMAKE_CURRENT_LIST_DIR}/DialogTemplate.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MenuResource.cpp
  ${CMAKE_CURRENT_LIST_DIR}/IconResource.cpp)
target_link_libraries(vantrel_dialogs PUBLIC vantrel_text)
