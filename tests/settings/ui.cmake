# The file dialogs behind the replacement library.
vantrel_add_test(settings_ui_tests
  SOURCES FileDialogsTest.cpp
  LIBS vantrel_platform)
