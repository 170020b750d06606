vantrel_add_test(launch_tests
  SOURCES LaunchersTest.cpp ProcessLauncherTest.cpp
  LIBS vantrel_launch vantrel_message vantrel_platform)
