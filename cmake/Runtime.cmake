# The C++ runtime of the program and of the libraries its windowless commands load (HTTP stack,
# data-line library): linked in, not loaded beside them. libstdc++.so with libm and libgcc_s costs
# every start about 1.8 MB and 2 M instructions of relocation, and each of the thousands of symbols
# the HTTP stack's libraries look up when they are loaded walks past them first. Each binary keeps
# its own copy, with its symbols hidden; what crosses between them (strings, containers, virtual
# classes) has the same layout and memory comes from the same malloc. The window module keeps the
# shared runtime: Qt needs it anyway. Sanitizer builds keep it too: their runtime wraps libstdc++.so.
option(VANTREL_STATIC_CXX_RUNTIME "Link libstdc++ and libgcc into the program and its light libraries" ON)

function(vantrel_link_cxx_runtime target)
  if(NOT VANTREL_STATIC_CXX_RUNTIME OR VANTREL_SANITIZE OR WIN32 OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    return()
  endif()
  target_link_options(${target} PRIVATE -static-libstdc++ -static-libgcc)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "MODULE_LIBRARY" OR type STREQUAL "SHARED_LIBRARY")
    target_link_options(${target} PRIVATE "LINKER:--exclude-libs,ALL")
  endif()
endfunction()
