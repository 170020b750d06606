# Run-time libraries (the data-line library) need the dynamic loader.
target_link_libraries(vantrel_platform PUBLIC ${CMAKE_DL_LIBS})
