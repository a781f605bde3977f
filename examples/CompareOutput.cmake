# Runs PROGRAM and fails unless it succeeds and prints exactly what the file EXPECTED holds.
execute_process(COMMAND "${PROGRAM}" OUTPUT_VARIABLE printed RESULT_VARIABLE result)
file(READ "${EXPECTED}" expected)
if(NOT result STREQUAL "0")
    message(FATAL_ERROR "${PROGRAM} ended with ${result} after printing:\n${printed}")
endif()
if(NOT printed STREQUAL expected)
    message(FATAL_ERROR "${PROGRAM} printed:\n${printed}\nexpected:\n${expected}")
endif()
