# The settings sheet, the list editor, the folder picker and the file dialogs.
vantrel_add_test(settings_ui_tests
  SOURCES FileDialogsTest.cpp FolderPickerTest.cpp ListEditorTest.cpp SettingsPagesTest.cpp
  LIBS vantrel_settingsui vantrel_headless vantrel_platform)
