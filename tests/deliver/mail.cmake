vantrel_add_test(mail_tests
  SOURCES MailEncodingTest.cpp MailClientTest.cpp
  LIBS vantrel_mail vantrel_resources)
