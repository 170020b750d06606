# Text utilities: formatter, dual string, resource reader, UTF helpers, base64.
vantrel_embed_res(vantrel_test_strings res/longstrings.rc TestStringImage)
vantrel_add_test(settings_text_tests
  SOURCES FormatTest.cpp DualStringTest.cpp ResourceModuleTest.cpp TextUtilTest.cpp Base64Test.cpp
  LIBS vantrel_text vantrel_resources vantrel_test_strings)
