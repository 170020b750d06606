# The installed program finds its libraries in this folder, relative to its own bin folder.
set_property(SOURCE ${CMAKE_CURRENT_LIST_DIR}/PosixLibraryLoader.cpp APPEND PROPERTY
  COMPILE_DEFINITIONS VANTREL_INSTALLED_LIBRARY_DIR="../${VANTREL_LIBRARY_DIR}")
