# The message facility: message boxes (or their silent answers), the message log, the position log.
add_library(vantrel_message STATIC ${CMAKE_CURRENT_LIST_DIR}/MessageFacility.cpp)
target_link_libraries(vantrel_message PUBLIC vantrel_text vantrel_resources)
