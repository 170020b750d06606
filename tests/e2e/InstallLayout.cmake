# cmake -DBUILD_DIR=<build> -DPREFIX=<empty folder> -P InstallLayout.cmake
# Installs the build under PREFIX and checks that everything lands in its place and that the
# installed program finds the libraries it loads (the window module for a copy, the HTTP stack).
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX}
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${rc}")
endif()

foreach(path
    bin/vantrel
    lib/vantrel/libvantrel-qt.so
    lib/vantrel/libvantrel-http.so
    lib/vantrel/libdlgconnect.so
    lib/vantrel/libdlgconnect-nm.so
    share/applications/vantrel.desktop
    share/icons/hicolor/scalable/apps/vantrel.svg
    share/icons/hicolor/48x48/apps/vantrel.png)
  if(NOT EXISTS ${PREFIX}/${path})
    message(FATAL_ERROR "not installed: ${path}")
  endif()
endforeach()

file(STRINGS ${PREFIX}/share/applications/vantrel.desktop entry)
foreach(line "Name=vantrel" "Exec=vantrel" "Icon=vantrel" "Categories=Network;Utility;")
  list(FIND entry "${line}" index)
  if(index EQUAL -1)
    message(FATAL_ERROR "vantrel.desktop lacks ${line}")
  endif()
endforeach()

# The installed program, nothing of the build tree on its way: a copy needs the window module.
file(MAKE_DIRECTORY ${PREFIX}/home)
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH QT_QPA_PLATFORM=offscreen VANTREL_HOME=${PREFIX}/home
          ${PREFIX}/bin/vantrel copy --position N35.39.29.000E139.44.51.000/1
  RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the installed vantrel could not copy: ${rc} ${err}")
endif()
