# The HTTP client (plain fetch on a worker, header request) and the HTTP channel's URL and cookie.
add_library(vantrel_http STATIC
  ${CMAKE_CURRENT_LIST_DIR}/HttpClient.cpp
  ${CMAKE_CURRENT_LIST_DIR}/HttpSend.cpp
  ${CMAKE_CURRENT_LIST_DIR}/WorkerThread.cpp)
target_link_libraries(vantrel_http PUBLIC vantrel_message vantrel_location vantrel_text vantrel_resources)
