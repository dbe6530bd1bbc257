# The tests let system calls fail by the same hook that the doors were compiled with.
target_compile_definitions(ioTest PRIVATE ZN_FAULT_HOOK)
find_package(ZLIB REQUIRED)
target_link_libraries(ioTest PRIVATE OpenEXR::OpenEXR PkgConfig::LCMS2 ZLIB::ZLIB)
if(TARGET znimport-assimp)
    add_dependencies(ioTest znimport-assimp)
endif()
# Damaged files go through what the fuzzer runs: a reader and a use of its result.
target_sources(ioTest PRIVATE ${PROJECT_SOURCE_DIR}/tests/fuzz/targets.cpp)
