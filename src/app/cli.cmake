# The command line and the vantrel executable.
add_library(vantrel_cli STATIC
  ${CMAKE_CURRENT_LIST_DIR}/CommandLine.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Commands.cpp)
target_link_libraries(vantrel_cli PUBLIC vantrel_app)

add_executable(vantrel ${CMAKE_CURRENT_LIST_DIR}/main.cpp)
target_compile_definitions(vantrel PRIVATE VANTREL_VERSION="${PROJECT_VERSION}")
target_link_libraries(vantrel PRIVATE vantrel_cli)
vantrel_link_cxx_runtime(vantrel)
# Beside the build folder's top, where the README's commands and the plugins expect it.
set_target_properties(vantrel PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
