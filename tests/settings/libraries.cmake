# Modules for the manager: each right or wrong in one way.
function(zn_test_module name)
    add_library(${name} MODULE ${folder}/modules/testModule.cpp)
    target_link_libraries(${name} PRIVATE znHostInterface znRenderHost)
    target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
    target_compile_definitions(${name} PRIVATE ${ARGN})
    add_dependencies(settingsTest ${name})
endfunction()

zn_test_module(znTestNoAbi "ZN_TEST_RESULT=nullptr")
zn_test_module(znTestWrongAbi ZN_TEST_ABI=999 "ZN_TEST_RESULT=nullptr")
zn_test_module(znTestNoFactory ZN_TEST_ABI=znRaytracingUtilsAbiVersion)
zn_test_module(znTestNull ZN_TEST_ABI=znRaytracingUtilsAbiVersion "ZN_TEST_RESULT=nullptr")
zn_test_module(znTestGood ZN_TEST_ABI=znRaytracingUtilsAbiVersion "ZN_TEST_RESULT=new CountingInstance")

# Thousands of short checks made by macros: nothing to gain from optimizing them, minutes to lose.
set_source_files_properties(${folder}/materialsTest.cpp PROPERTIES COMPILE_OPTIONS -O0)
