# The self-check of the service library.
add_executable(libmailvane_analyzer_tests ${CMAKE_CURRENT_LIST_DIR}/libmailvane_analyzer.cpp)
target_compile_definitions(libmailvane_analyzer_tests PRIVATE
    SELF_CHECK_DOCUMENT="${CMAKE_SOURCE_DIR}/docs/self_check.md")
target_link_libraries(libmailvane_analyzer_tests PRIVATE mailvane_service GTest::gtest_main)
add_test(NAME libmailvane_analyzer COMMAND libmailvane_analyzer_tests)
