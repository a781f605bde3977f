# What every target of this project is compiled with. Nothing of it reaches the projects that use the library.
add_library(qzgc_compiler_options INTERFACE)
target_compile_features(qzgc_compiler_options INTERFACE cxx_std_20)
target_compile_options(qzgc_compiler_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -fvisibility=hidden -fvisibility-inlines-hidden
    $<$<BOOL:${QZGC_WARNINGS_AS_ERRORS}>:-Werror>)

if(QZGC_SANITIZE)
    target_compile_options(qzgc_compiler_options INTERFACE
        -fsanitize=${QZGC_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(qzgc_compiler_options INTERFACE -fsanitize=${QZGC_SANITIZE})
endif()
if(QZGC_COVERAGE)
    target_compile_options(qzgc_compiler_options INTERFACE --coverage)
    target_link_options(qzgc_compiler_options INTERFACE --coverage)
endif()
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES AND PROJECT_IS_TOP_LEVEL)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()
