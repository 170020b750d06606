# Settings file, record, profiles and the program folder.
vantrel_add_test(settings_tests
  SOURCES SettingsStoreTest.cpp SettingsTest.cpp SettingsListTest.cpp ProgramFolderTest.cpp
  LIBS vantrel_settings)
