# Settings, rendered files and saves of the service library.
add_executable(libmailvane_settings_tests
    ${CMAKE_CURRENT_LIST_DIR}/machine.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_settings_table.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_settings_render.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libmailvane_signing.cpp
    ${PROJECT_SOURCE_DIR}/tools/from_check/authors.cpp)
target_link_libraries(libmailvane_settings_tests PRIVATE mailvane_service GTest::gtest_main)
if(MAILVANE_SANITIZE)
    # With the sanitizers in it, GCC takes std::regex's own code for uninitialized.
    target_compile_options(libmailvane_settings_tests PRIVATE -Wno-maybe-uninitialized)
endif()
add_test(NAME libmailvane_settings COMMAND libmailvane_settings_tests)

# Saves run the real checks of Postfix and Dovecot, so they have a private machine to themselves.
add_executable(libmailvane_save_tests ${CMAKE_CURRENT_LIST_DIR}/libmailvane_save.cpp)
target_link_libraries(libmailvane_save_tests PRIVATE mailvane_service GTest::gtest_main)
add_test(NAME libmailvane_save
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/in_world.sh $<TARGET_FILE:libmailvane_save_tests>)
set_tests_properties(libmailvane_save PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 600)
