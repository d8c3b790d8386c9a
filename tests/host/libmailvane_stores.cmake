# The stores and the ports of the service library.
find_package(SQLiteCpp REQUIRED)
add_executable(libmailvane_stores_tests
    ${CMAKE_CURRENT_LIST_DIR}/machine.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_stores_account_data.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_aliases.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_stores_database.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_stored_data.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_stores_filtering.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_stores_lists.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_stores_ports.cpp
    ${PROJECT_SOURCE_DIR}/tools/rate_policy/counters.cpp)
target_link_libraries(libmailvane_stores_tests PRIVATE
    mailvane_service haldcore mailvane_options SQLiteCpp GTest::gtest GTest::gtest_main)
add_test(NAME libmailvane_stores COMMAND libmailvane_stores_tests)
