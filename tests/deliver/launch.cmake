# The message facility's stand-in goes once its implementation is linked here.
vantrel_add_test(launch_tests
  SOURCES LaunchersTest.cpp WindowsCommandLineTest.cpp ProcessLauncherTest.cpp
          ${PROJECT_SOURCE_DIR}/tests/support/MessageFacilityStub.cpp
  LIBS vantrel_launch vantrel_platform)

find_package(Qt6 REQUIRED COMPONENTS Gui)
vantrel_add_test(qtclipboard_tests
  SOURCES QtClipboardTest.cpp
  LIBS vantrel_qtclipboard Qt6::Gui)
