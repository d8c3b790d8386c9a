# Personal settings and the report.
add_executable(libmailvane_personal_tests
    ${CMAKE_CURRENT_LIST_DIR}/machine.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_personal.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_report.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_user_child.cpp)
target_link_libraries(libmailvane_personal_tests PRIVATE report_parts GTest::gtest_main)
add_test(NAME libmailvane_personal COMMAND libmailvane_personal_tests)
