vantrel_add_test(mail_tests
  SOURCES MailEncodingTest.cpp MailClientTest.cpp MailErrorTextTest.cpp MailServerTest.cpp ScriptedMailPeer.cpp
  LIBS vantrel_mail vantrel_resources)
target_compile_definitions(mail_tests PRIVATE
  VANTREL_MAIL_SINK_DIR="${CMAKE_CURRENT_SOURCE_DIR}")
