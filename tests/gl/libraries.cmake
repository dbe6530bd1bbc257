# A context for the tests comes from EGL without a window.
if(TARGET PkgConfig::EGL)
    target_link_libraries(glTest PRIVATE PkgConfig::EGL)
    target_compile_definitions(glTest PRIVATE ZN_HAS_EGL=1)
endif()
