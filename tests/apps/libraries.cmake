# The tests run the program, which loads the core at run time.
add_dependencies(appsTest znrender znRaytracingUtilsSSE2)
