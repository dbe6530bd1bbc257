# Libraries of the system. What is optional only widens the set of tests and importers.

find_package(PkgConfig REQUIRED)
find_package(TBB REQUIRED)
find_package(OpenEXR REQUIRED)
find_package(PNG REQUIRED)
find_package(JPEG REQUIRED)
find_package(TIFF REQUIRED)
find_package(fmt REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(CLI11 REQUIRED)
pkg_check_modules(LCMS2 REQUIRED IMPORTED_TARGET lcms2)
pkg_check_modules(EPOXY REQUIRED IMPORTED_TARGET epoxy)

pkg_check_modules(EGL QUIET IMPORTED_TARGET egl)
pkg_check_modules(OCIO QUIET IMPORTED_TARGET OpenColorIO)
find_package(assimp QUIET)
find_package(embree 3 QUIET)
