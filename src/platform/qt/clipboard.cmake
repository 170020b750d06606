find_package(Qt6 REQUIRED COMPONENTS Gui)
add_library(vantrel_qtclipboard STATIC ${CMAKE_CURRENT_LIST_DIR}/QtClipboard.cpp)
target_link_libraries(vantrel_qtclipboard PUBLIC vantrel_port PRIVATE Qt6::Gui)
