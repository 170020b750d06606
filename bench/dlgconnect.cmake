# The data-line library: 1000 GetConnection calls against a mock NetworkManager on a private bus.
if(TARGET dlgconnect)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(GIO REQUIRED IMPORTED_TARGET gio-2.0)
  add_executable(vantrel_dlgconnect_bench ${CMAKE_CURRENT_LIST_DIR}/DlgConnectBench.cpp
    ${PROJECT_SOURCE_DIR}/tests/support/MockNetworkManager.cpp
    ${PROJECT_SOURCE_DIR}/tests/support/ChildProcess.cpp
    ${PROJECT_SOURCE_DIR}/tests/support/TempDir.cpp)
  target_include_directories(vantrel_dlgconnect_bench PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(vantrel_dlgconnect_bench PRIVATE vantrel_text PkgConfig::GIO ${CMAKE_DL_LIBS})
  target_compile_definitions(vantrel_dlgconnect_bench PRIVATE
    VANTREL_DLGCONNECT_PATH="$<TARGET_FILE:dlgconnect>"
    VANTREL_NM_MOCK_TEMPLATE="${PROJECT_SOURCE_DIR}/tests/support/networkmanager_mock.py")
  add_dependencies(vantrel_dlgconnect_bench dlgconnect)
endif()
