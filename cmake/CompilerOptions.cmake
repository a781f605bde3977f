# What every target of this project is compiled with. Nothing of it reaches the projects that use the library.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12
   OR CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 14)
    message(WARNING "QZGameController is tested with GCC 12, Clang 14 and newer; this is "
        "${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}.")
endif()
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES AND PROJECT_IS_TOP_LEVEL)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

add_library(qzgc_compiler_options INTERFACE)
target_compile_features(qzgc_compiler_options INTERFACE cxx_std_20)
target_compile_options(qzgc_compiler_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -fvisibility=hidden -fvisibility-inlines-hidden
    $<$<BOOL:${QZGC_WARNINGS_AS_ERRORS}>:-Werror>)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 sees overlapping copies inside std::string's own operator+ (GCC bug 105651, fixed in 13).
    target_compile_options(qzgc_compiler_options INTERFACE -Wno-restrict)
endif()

# What is meant to be handed out does not depend on where it was built. Debuggers and coverage reports want the real
# paths, so the other kinds of build keep them.
if(QZGC_COVERAGE)
    target_compile_options(qzgc_compiler_options INTERFACE --coverage)
    target_link_options(qzgc_compiler_options INTERFACE --coverage)
else()
    target_compile_options(qzgc_compiler_options INTERFACE
        "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>"
        "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build>")
endif()

if(QZGC_SANITIZE)
    target_compile_options(qzgc_compiler_options INTERFACE
        -fsanitize=${QZGC_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(qzgc_compiler_options INTERFACE -fsanitize=${QZGC_SANITIZE})
endif()
