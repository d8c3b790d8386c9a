# The request object: who may enter, what is loaded, what is refused.
add_executable(libkos_tests
    ${CMAKE_CURRENT_LIST_DIR}/machine.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libkos_admission.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libkos_loading.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libkos_request.cpp
    ${CMAKE_CURRENT_LIST_DIR}/libkos_texts.cpp)
target_link_libraries(libkos_tests PRIVATE kos haldcore GTest::gtest GTest::gtest_main)
add_test(NAME libkos COMMAND libkos_tests)

# Damaged input, the same at every run; with libFuzzer the driver is left out.
foreach(input multipart intake)
    add_executable(fuzz_${input}
        ${CMAKE_CURRENT_LIST_DIR}/fuzz_${input}.cpp
        ${CMAKE_CURRENT_LIST_DIR}/fuzz_driver.cpp)
    target_link_libraries(fuzz_${input} PRIVATE kos haldcore)
    add_test(NAME fuzz_${input} COMMAND fuzz_${input})
endforeach()
