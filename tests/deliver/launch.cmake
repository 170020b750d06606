vantrel_add_test(launch_tests
  SOURCES LaunchersTest.cpp WindowsCommandLineTest.cpp ProcessLauncherTest.cpp
  LIBS vantrel_launch vantrel_message vantrel_platform)

find_package(Qt6 REQUIRED COMPONENTS Gui)
vantrel_add_test(qtclipboard_tests
  SOURCES QtClipboardTest.cpp
  LIBS vantrel_qtclipboard Qt6::Gui)
