# The serial channel: one simple-coordinate round against the emulated module, idle CPU.
add_executable(vantrel_serial_bench ${CMAKE_CURRENT_LIST_DIR}/SerialBench.cpp)
target_link_libraries(vantrel_serial_bench PRIVATE vantrel_serial vantrel_message vantrel_platform)
