# The dialog-template host: reads DLGTEMPLATE resources and builds their controls into a dialog host.
add_library(vantrel_dialogs STATIC ${CMAKE_CURRENT_LIST_DIR}/DialogTemplate.cpp)
target_link_libraries(vantrel_dialogs PUBLIC vantrel_text)
