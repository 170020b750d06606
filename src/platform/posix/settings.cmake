# The settings profile of this platform comes from the settings library.
target_link_libraries(vantrel_platform PUBLIC vantrel_settings)
