# The core, account and packet filter libraries.
add_executable(libhald_tests
    ${CMAKE_CURRENT_LIST_DIR}/libhaldcore_files.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libhaldcore_key_value.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libhaldcore_lock.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libhaldcore_process.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libhaldcore_programs.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libhaldcore_result.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libhaldcore_strings.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libhaldfirewall_rules.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libhaldsdk_accounts.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libhaldsdk_directory.cpp
    ${CMAKE_CURRENT_LIST_DIR}/machine.cpp)
target_link_libraries(libhald_tests PRIVATE
    haldfirewall haldsdk haldcore mailvane_options GTest::gtest GTest::gtest_main)
add_test(NAME libhald COMMAND libhald_tests)

# A package tool that tells what it was given.
add_executable(libhald_tool ${CMAKE_CURRENT_LIST_DIR}/libhald_tool.cpp)
target_link_libraries(libhald_tool PRIVATE haldcore mailvane_options)
target_compile_definitions(libhald_tests PRIVATE LIBHALD_TOOL="$<TARGET_FILE:libhald_tool>")
add_dependencies(libhald_tests libhald_tool)

# Stand-ins for the name service modules of a Windows domain and an LDAP directory.
foreach(service winbind sss)
    add_library(nss_${service} MODULE ${CMAKE_CURRENT_LIST_DIR}/libhald_nss_module.cpp)
    target_link_libraries(nss_${service} PRIVATE mailvane_options)
    target_compile_definitions(nss_${service} PRIVATE SERVICE=${service})
    set_target_properties(nss_${service} PROPERTIES SUFFIX .so.2)
    target_link_options(nss_${service} PRIVATE -Wl,-soname,libnss_${service}.so.2)
    string(TOUPPER ${service} name)
    target_compile_definitions(libhald_tests PRIVATE
        LIBHALD_${name}="$<TARGET_FILE:nss_${service}>")
    add_dependencies(libhald_tests nss_${service})
endforeach()
