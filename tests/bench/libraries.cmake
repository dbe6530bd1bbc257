# The comparisons of imgdiff.
target_sources(benchTest PRIVATE ${PROJECT_SOURCE_DIR}/bench/imgdiff/Picture.cpp
                                 ${PROJECT_SOURCE_DIR}/bench/imgdiff/figures.cpp
                                 ${PROJECT_SOURCE_DIR}/bench/imgdiff/perceivedDifference.cpp)
target_include_directories(benchTest PRIVATE ${PROJECT_SOURCE_DIR}/bench)
if(ZN_BUILD_BENCH)
    add_dependencies(benchTest imgdiff)
endif()
