# One place for language level, warnings and sanitizers.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Everything that runs stands in one folder, so that RUNPATH $ORIGIN finds the libraries.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN")

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release or RelWithDebInfo" FORCE)
endif()

set(ZN_SANITIZE "" CACHE STRING "Sanitizers, for example address,undefined or thread")

find_program(ZN_CCACHE ccache)
if(ZN_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${ZN_CCACHE})
endif()

add_library(znOptions INTERFACE)
target_compile_options(znOptions INTERFACE -Wall -Wextra -Werror -Wno-unknown-pragmas)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Packet types carry an alignment that GCC drops from template arguments on purpose.
    target_compile_options(znOptions INTERFACE -Wno-ignored-attributes)
endif()
if(ZN_SANITIZE)
    target_compile_options(znOptions INTERFACE -fsanitize=${ZN_SANITIZE} -fno-omit-frame-pointer -g)
    target_link_options(znOptions INTERFACE -fsanitize=${ZN_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The checks that sanitizers add hide from GCC that a variable is always set.
        target_compile_options(znOptions INTERFACE -Wno-maybe-uninitialized)
    endif()
    if(ZN_SANITIZE MATCHES "undefined")
        target_compile_options(znOptions INTERFACE -fno-sanitize-recover=undefined)
    endif()
endif()

# Ray code: the x86-64 baseline, no contraction and no relaxed maths (NaN and signed zeros carry
# meaning: a fused multiply-add would split packet and single-ray results).
add_library(znCoreOptions INTERFACE)
target_link_libraries(znCoreOptions INTERFACE znOptions)
target_compile_options(znCoreOptions INTERFACE -msse2 -mfpmath=sse -ffp-contract=off
                                               -fno-math-errno -fno-trapping-math)
