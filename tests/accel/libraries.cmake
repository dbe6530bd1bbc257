if(embree_FOUND)
    target_compile_definitions(accelTest PRIVATE ZN_WITH_EMBREE)
    target_link_libraries(accelTest PRIVATE embree)
endif()
