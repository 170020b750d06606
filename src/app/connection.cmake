# The holder of the data-line library's connection object.
add_library(vantrel_connection STATIC ${CMAKE_CURRENT_LIST_DIR}/ConnectionManager.cpp)
target_link_libraries(vantrel_connection PUBLIC vantrel_port vantrel_message)
