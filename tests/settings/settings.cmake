# Settings file, record, profiles and the program folder.
vantrel_add_test(settings_tests
  SOURCES SettingsStoreTest.cpp SettingsTest.cpp SettingsListTest.cpp ProgramFolderTest.cpp
  LIBS vantrel_settings)
target_compile_definitions(settings_tests PRIVATE
  VANTREL_SETTINGS_GOLDEN="${CMAKE_CURRENT_SOURCE_DIR}/data/windows-default.ini")
