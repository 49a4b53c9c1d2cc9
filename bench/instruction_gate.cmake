# The instruction count of fixed calls as a test. Debug and sanitizer builds run other code.
if(NOT LUMO_BUILD_CLI OR NOT CMAKE_BUILD_TYPE STREQUAL "Release" OR LUMO_SANITIZE
   OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU" OR NOT CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
    return()
endif()

find_package(Python3 REQUIRED COMPONENTS Interpreter)
find_program(LUMO_VALGRIND valgrind REQUIRED)

add_executable(instruction_count
    ${CMAKE_CURRENT_LIST_DIR}/instruction_count.cpp
    ${CMAKE_CURRENT_LIST_DIR}/scene.cpp
    ${PROJECT_SOURCE_DIR}/cli/colour/photo_paper_profile_data.cpp
    $<TARGET_OBJECTS:lumo_scalar_objects>)
target_include_directories(instruction_count PRIVATE ${PROJECT_SOURCE_DIR}/cli)
target_link_libraries(instruction_count PRIVATE
    lumo_scalar_objects rvx32p lumo_warnings lumo_arithmetic)
add_executable(host_instruction_count
    ${CMAKE_CURRENT_LIST_DIR}/host_instruction_count.cpp ${CMAKE_CURRENT_LIST_DIR}/scene.cpp)
target_link_libraries(host_instruction_count PRIVATE lumo_host lumo_warnings lumo_arithmetic)
add_test(NAME instruction_gate
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/instruction_gate
        --programs $<TARGET_FILE:instruction_count> $<TARGET_FILE:host_instruction_count>)
set_tests_properties(instruction_gate PROPERTIES TIMEOUT 300)
