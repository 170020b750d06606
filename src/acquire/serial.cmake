# The serial channel, the connection-wait guard, the port name and the emulated module.
add_library(vantrel_serial STATIC
  ${CMAKE_CURRENT_LIST_DIR}/SerialPort.cpp
  ${CMAKE_CURRENT_LIST_DIR}/DelayThread.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PortResolver.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ModuleEmulator.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EmulatedModule.cpp)
# Diagnostics go through the message facility.
target_link_libraries(vantrel_serial PUBLIC vantrel_port vantrel_text vantrel_message)
find_package(Threads REQUIRED)
target_link_libraries(vantrel_serial PUBLIC Threads::Threads)
