# The settings file: loading time against the number of list rows.
add_executable(vantrel_settings_bench ${CMAKE_CURRENT_LIST_DIR}/SettingsBench.cpp)
target_link_libraries(vantrel_settings_bench PRIVATE vantrel_settings vantrel_platform)
