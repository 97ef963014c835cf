# cmake -DPROGRAM=<path> -DARGUMENT=<argument> -DREPORT=<regular expression> -P expectreport.cmake
# Runs a program with a planted defect. The sanitizer must have reported it, and the program must have
# failed: that is what every other test relies on.
execute_process(COMMAND "${PROGRAM}" ${ARGUMENT}
    RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output TIMEOUT 100)
message("${output}")
if(status EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} ${ARGUMENT} ended well")
endif()
if(NOT output MATCHES "${REPORT}")
    message(FATAL_ERROR "${PROGRAM} ${ARGUMENT} ended with ${status}, but no report has '${REPORT}'")
endif()
