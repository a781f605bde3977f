# The text that tells two builds of one version apart: what git says of the sources, or what the packager passes in.
set(QZGC_BUILD_IDENTIFICATION "" CACHE STRING "Build identification in QZGameControllerVersionString (empty: ask git)")
set(qzgc_build_identification "${QZGC_BUILD_IDENTIFICATION}")
# Sources without a repository of their own may lie inside somebody else's, whose commits say nothing about them.
if(NOT qzgc_build_identification AND EXISTS "${PROJECT_SOURCE_DIR}/.git")
    find_package(Git QUIET)
    if(Git_FOUND)
        execute_process(COMMAND "${GIT_EXECUTABLE}" -C "${PROJECT_SOURCE_DIR}" describe --always --dirty --abbrev=12
            OUTPUT_VARIABLE qzgc_build_identification OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
        # The file that grows with every commit and checkout: the next build then asks again.
        execute_process(COMMAND "${GIT_EXECUTABLE}" -C "${PROJECT_SOURCE_DIR}" rev-parse --absolute-git-dir
            OUTPUT_VARIABLE qzgc_git_dir OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
        if(EXISTS "${qzgc_git_dir}/logs/HEAD")
            set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${qzgc_git_dir}/logs/HEAD")
        endif()
    endif()
endif()
if(NOT qzgc_build_identification)
    set(qzgc_build_identification "unidentified build")
endif()
