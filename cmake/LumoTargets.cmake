# Interface targets that every target of the project links.

add_library(lumo_warnings INTERFACE)
target_compile_options(lumo_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wno-psabi
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<BOOL:${LUMO_WERROR}>:-Werror>)

# Arithmetic that gives the same bits on every instruction set: no fused multiply-add, no
# re-association. Ignoring traps and errno changes no value; it lets loops vectorise.
add_library(lumo_arithmetic INTERFACE)
target_compile_options(lumo_arithmetic INTERFACE
    -ffp-contract=off -fno-trapping-math -fno-math-errno)

add_library(lumo_sanitizers INTERFACE)
if(LUMO_SANITIZE)
    # A pool of blocks would hide from the sanitizers where one ends.
    target_compile_definitions(lumo_sanitizers INTERFACE LUMO_PLAIN_HEAP)
    target_compile_options(lumo_sanitizers INTERFACE
        -fsanitize=${LUMO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
        # Checks keep loops from being vectorised, which clang would report.
        $<$<CXX_COMPILER_ID:Clang>:-Wno-pass-failed>)
    target_link_options(lumo_sanitizers INTERFACE -fsanitize=${LUMO_SANITIZE})
endif()

if(LUMO_BUILD_FUZZ)
    target_compile_options(lumo_sanitizers INTERFACE -fsanitize=fuzzer-no-link)
endif()

find_package(OpenMP REQUIRED COMPONENTS CXX)

# Headers that nearly every file of a target reads, the standard library's and those named; a build
# that shall find missing includes goes without.
function(lumo_precompile target)
    if(LUMO_PRECOMPILED_HEADERS)
        target_precompile_headers(${target} PRIVATE
            <algorithm> <functional> <memory> <string> <vector> ${ARGN})
    endif()
endfunction()
