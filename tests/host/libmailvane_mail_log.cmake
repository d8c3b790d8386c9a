# The mail log as the pages read it.
find_package(SQLiteCpp REQUIRED)
add_executable(libmailvane_mail_log_tests
    ${CMAKE_CURRENT_LIST_DIR}/machine.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_mail_log.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_mail_log_files.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_mail_log_statistic.cpp)
target_link_libraries(libmailvane_mail_log_tests PRIVATE
    mailvane_service haldcore mailvane_options SQLiteCpp GTest::gtest GTest::gtest_main)
add_test(NAME libmailvane_mail_log COMMAND libmailvane_mail_log_tests)
