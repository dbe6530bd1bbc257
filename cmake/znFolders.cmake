# A folder of sources becomes an object library, so that a change rebuilds and tests little.

# zn_folder(NAME FOLDER LIBRARIES...) compiles FOLDER/*.cpp into the object library NAME.
function(zn_folder name folder)
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp
                                        ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*/*.cpp)
    if(NOT sources)
        return()
    endif()
    add_library(${name} OBJECT ${sources})
    target_link_libraries(${name} PUBLIC ${ARGN})
endfunction()
