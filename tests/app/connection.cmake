# Stand-in data-line libraries with both, one and none of the entry points; they land beside the
# test program, where the loader looks first.
foreach(variant both createonly none)
  add_library(fakeconn_${variant} MODULE FakeDlgConnect.cpp)
  target_include_directories(fakeconn_${variant} PRIVATE ${PROJECT_SOURCE_DIR}/src)
  set_target_properties(fakeconn_${variant} PROPERTIES PREFIX "lib" CXX_VISIBILITY_PRESET hidden)
endforeach()
target_compile_definitions(fakeconn_both PRIVATE FAKE_EXPORT_CREATE FAKE_EXPORT_DELETE)
target_compile_definitions(fakeconn_createonly PRIVATE FAKE_EXPORT_CREATE)

# The real data-line library runs against a mock NetworkManager on a bus of the test's own.
find_package(PkgConfig REQUIRED)
pkg_check_modules(GIO REQUIRED IMPORTED_TARGET gio-2.0)
vantrel_add_test(connection_tests
  SOURCES ConnectionManagerTest.cpp DlgConnectPluginTest.cpp ${PROJECT_SOURCE_DIR}/tests/support/MockNetworkManager.cpp
  LIBS vantrel_connection vantrel_message vantrel_platform PkgConfig::GIO)
add_dependencies(connection_tests fakeconn_both fakeconn_createonly fakeconn_none dlgconnect)
target_compile_definitions(connection_tests PRIVATE
  VANTREL_DLGCONNECT_PATH="$<TARGET_FILE:dlgconnect>"
  VANTREL_NM_MOCK_TEMPLATE="${PROJECT_SOURCE_DIR}/tests/support/networkmanager_mock.py")
