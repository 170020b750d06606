# The base-station position service and its cache of earlier answers.
add_library(vantrel_lookup STATIC
  ${CMAKE_CURRENT_LIST_DIR}/LocationCache.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PositionService.cpp)
target_link_libraries(vantrel_lookup PUBLIC vantrel_http vantrel_location vantrel_text vantrel_resources)
