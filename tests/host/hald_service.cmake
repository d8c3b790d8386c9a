# The program that runs the daemons.
add_executable(fake_daemon ${CMAKE_CURRENT_LIST_DIR}/fake_daemon.cpp)
target_link_libraries(fake_daemon PRIVATE mailvane_options)
add_executable(hald_service_tests
    ${CMAKE_CURRENT_LIST_DIR}/machine.cpp
    ${CMAKE_CURRENT_LIST_DIR}/hald_service_supervisor.cpp
    ${CMAKE_CURRENT_LIST_DIR}/hald_service_table.cpp)
target_compile_definitions(hald_service_tests PRIVATE
    MAILVANE_SOURCE="${CMAKE_SOURCE_DIR}"
    MAILVANE_FAKE_DAEMON="$<TARGET_FILE:fake_daemon>")
target_link_libraries(hald_service_tests PRIVATE
    hald_service_parts mailvane_service GTest::gtest GTest::gtest_main)
add_dependencies(hald_service_tests fake_daemon)
add_test(NAME hald_service COMMAND hald_service_tests)
