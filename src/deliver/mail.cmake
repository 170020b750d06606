# Mail: text encoding, the SMTP / POP-before-SMTP client and its failure text.
add_library(vantrel_mail STATIC
  MailClient.cpp
  MailEncoding.cpp
  MailErrorText.cpp)
target_link_libraries(vantrel_mail PUBLIC vantrel_text PRIVATE vantrel_resources)
