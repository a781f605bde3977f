# The text that tells two builds of one version apart: what git says of the sources, or what the packager passes in.
set(QZGC_BUILD_IDENTIFICATION "" CACHE STRING "Build identification in QZGameControllerVersionString (empty: ask git)")
set(qzgc_build_identification "${QZGC_BUILD_IDENTIFICATION}")
if(NOT qzgc_build_identification)
    find_package(Git QUIET)
    if(Git_FOUND)
        execute_process(COMMAND "${GIT_EXECUTABLE}" -C "${PROJECT_SOURCE_DIR}" describe --always --dirty --abbrev=12
            OUTPUT_VARIABLE qzgc_build_identification OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
endif()
if(NOT qzgc_build_identification)
    set(qzgc_build_identification "unidentified build")
endif()
