# Hand-off launchers: browser, mail program, map application, clipboard.
add_library(vantrel_launch STATIC ${CMAKE_CURRENT_LIST_DIR}/Launchers.cpp)
target_link_libraries(vantrel_launch PUBLIC vantrel_location vantrel_message vantrel_text PRIVATE vantrel_resources)
