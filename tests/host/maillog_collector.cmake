# The collector of the mail log.
add_executable(maillog_collector_tests
    ${CMAKE_CURRENT_LIST_DIR}/machine.cpp
    ${CMAKE_CURRENT_LIST_DIR}/maillog_collector_lines.cpp
    ${CMAKE_CURRENT_LIST_DIR}/maillog_collector_runs.cpp)
target_compile_definitions(maillog_collector_tests PRIVATE
    MAILVANE_SAMPLE_LOG="${CMAKE_CURRENT_LIST_DIR}/postfix-sample.log"
    MAILVANE_COLLECTOR="$<TARGET_FILE:maillog_collector>")
target_link_libraries(maillog_collector_tests PRIVATE
    maillog_collector_parts GTest::gtest GTest::gtest_main)
add_dependencies(maillog_collector_tests maillog_collector)
add_test(NAME maillog_collector COMMAND maillog_collector_tests)
