# cmake --install: the program in bin, the libraries it loads when it needs them (window module,
# HTTP stack, data-line library) in a folder of its own under lib, which the loader looks in and the
# program's run path names; the desktop entry and the icon where the desktop looks for them.
install(TARGETS vantrel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
set_target_properties(vantrel PROPERTIES INSTALL_RPATH "$ORIGIN/../${VANTREL_LIBRARY_DIR}")
install(TARGETS vantrel-qt vantrel-http LIBRARY DESTINATION ${VANTREL_LIBRARY_DIR})
if(TARGET dlgconnect)
  install(TARGETS dlgconnect dlgconnect-nm LIBRARY DESTINATION ${VANTREL_LIBRARY_DIR})
endif()

install(FILES ${PROJECT_SOURCE_DIR}/resources/vantrel.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${PROJECT_SOURCE_DIR}/resources/icons/vantrel.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${PROJECT_SOURCE_DIR}/resources/icons/vantrel-48.png
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/48x48/apps RENAME vantrel.png)
