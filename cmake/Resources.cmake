# The resource script is compiled by windres on every platform: on Windows the .res is linked as
# usual; everywhere its bytes are also embedded and served by our own resource reader.
find_program(VANTREL_WINDRES NAMES x86_64-w64-mingw32-windres windres REQUIRED)

# Without the mingw compiler installed windres needs the host preprocessor told to act like rc.
set(VANTREL_WINDRES_FLAGS
    --preprocessor=cpp --preprocessor-arg=-E --preprocessor-arg=-xc
    --preprocessor-arg=-DRC_INVOKED -J rc -O res)

# vantrel_embed_res(<target> <rc file> <symbol>): compiles the script and makes a static library
# <target> that defines `std::span<const std::uint8_t> <symbol>()` returning the .res bytes.
function(vantrel_embed_res target rc_file symbol)
  get_filename_component(rc_abs ${rc_file} ABSOLUTE)
  get_filename_component(rc_dir ${rc_abs} DIRECTORY)
  set(res_file ${CMAKE_CURRENT_BINARY_DIR}/${target}.res)
  set(cpp_file ${CMAKE_CURRENT_BINARY_DIR}/${target}_image.cpp)
  file(GLOB rc_deps CONFIGURE_DEPENDS ${rc_dir}/*.h ${rc_dir}/*.rc ${rc_dir}/*.ico ${rc_dir}/icons/*.ico)
  add_custom_command(
    OUTPUT ${res_file}
    COMMAND ${VANTREL_WINDRES} ${VANTREL_WINDRES_FLAGS} -I ${rc_dir} ${rc_abs} ${res_file}
    DEPENDS ${rc_abs} ${rc_deps}
    COMMENT "Compiling resource script ${rc_file}"
    VERBATIM)
  add_custom_command(
    OUTPUT ${cpp_file}
    COMMAND ${CMAKE_COMMAND} -DINPUT=${res_file} -DOUTPUT=${cpp_file} -DSYMBOL=${symbol}
            -P ${PROJECT_SOURCE_DIR}/cmake/EmbedBytes.cmake
    DEPENDS ${res_file} ${PROJECT_SOURCE_DIR}/cmake/EmbedBytes.cmake
    VERBATIM)
  add_library(${target} STATIC ${cpp_file})
endfunction()
