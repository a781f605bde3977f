# Runs one scenario and compares what the tool prints and how it ends:
#   cmake -DTOOL=qzgc -DSCENARIO=NAME.json -DOUTPUT=PREFIX -P RunScenario.cmake
#
# Standard output must be NAME.expected to the byte. A scenario is refused (exit status 2) when its name begins with
# "refused-", and ends by SIGABRT when it begins with "fatal-"; both leave exactly one line on standard error, which holds
# the text of NAME.stderr where there is such a file. All others end with 0 and a silent standard error.
cmake_minimum_required(VERSION 3.25)

get_filename_component(directory "${SCENARIO}" DIRECTORY)
get_filename_component(name "${SCENARIO}" NAME_WLE)
set(expected "${directory}/${name}.expected")

execute_process(COMMAND "${TOOL}" simulate "${SCENARIO}"
    OUTPUT_FILE "${OUTPUT}.stdout" ERROR_FILE "${OUTPUT}.stderr" RESULT_VARIABLE status TIMEOUT 60)
file(READ "${OUTPUT}.stderr" complaint)

set(expected_status 0)
set(expected_complaint "^$")
if(name MATCHES "^refused-")
    set(expected_status 2)
    set(expected_complaint "^[^\n]+\n$")
elseif(name MATCHES "^fatal-")
    set(expected_status "Subprocess aborted")
    set(expected_complaint "^QZGameController: fatal error: [^\n]+\n$")
endif()

set(differences "")
if(NOT status STREQUAL expected_status)
    string(APPEND differences "ended with '${status}', not with '${expected_status}'\n")
endif()
if(NOT complaint MATCHES "${expected_complaint}")
    string(APPEND differences "standard error is not as it must be:\n${complaint}")
endif()
if(EXISTS "${directory}/${name}.stderr")
    file(READ "${directory}/${name}.stderr" place)
    string(STRIP "${place}" place)
    string(FIND "${complaint}" "${place}" position)
    if(position EQUAL -1)
        string(APPEND differences "standard error does not name '${place}':\n${complaint}")
    endif()
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${OUTPUT}.stdout" "${expected}" RESULT_VARIABLE differs)
if(differs)
    find_program(DIFF diff)
    if(DIFF)
        execute_process(COMMAND "${DIFF}" -u "${expected}" "${OUTPUT}.stdout" OUTPUT_VARIABLE difference)
    endif()
    string(APPEND differences "standard output differs from ${expected}\n${difference}")
endif()
if(differences)
    message(FATAL_ERROR "${name}: ${differences}")
endif()
