# The settings sheet, the list editor and the file dialogs.
vantrel_add_test(settings_ui_tests
  SOURCES FileDialogsTest.cpp ListEditorTest.cpp SettingsPagesTest.cpp
  LIBS vantrel_settingsui vantrel_headless vantrel_platform)
