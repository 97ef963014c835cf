# cmake -DFOLDER=<path> -P noreports.cmake
# Fails, and shows them, if any process of any test has written a report: also one that was killed, or
# whose end nobody looked at.
file(GLOB reports "${FOLDER}/*")
foreach(report IN LISTS reports)
    file(READ "${report}" text)
    message("${report}:\n${text}")
endforeach()
if(reports)
    message(FATAL_ERROR "ThreadSanitizer has something to report")
endif()
