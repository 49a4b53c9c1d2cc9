# Formats whose libraries may be missing. Their lines stay in the table of formats, and the program
# says which library would read a refused file.
#
#   qva_add_format(NAME library SOURCES ... LIBRARIES ...)
#
# after NAME_FOUND is known. QVA_WITHOUT lists those that are left out on purpose. Defines QVA_HAVE_NAME for the table where the format is built in, and adds
# NAME to the global property QVA_FORMATS.
set(QVA_WITHOUT "" CACHE STRING "Formats to leave out: JPEG, AVIF, HEIC, JXL, RAW")

function(qva_add_format name library)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
    if(name IN_LIST QVA_WITHOUT)
        message(STATUS "qva will not read ${name}: left out by QVA_WITHOUT")
        return()
    endif()
    if(NOT ${name}_FOUND)
        message(STATUS "qva will not read ${name}: ${library} was not found")
        return()
    endif()
    target_sources(lumo_host PRIVATE ${ARG_SOURCES})
    target_link_libraries(lumo_host PUBLIC ${ARG_LIBRARIES})
    set_property(GLOBAL APPEND PROPERTY QVA_FORMATS ${name})
    # Not for every source: most are not concerned by what is built in.
    set_property(SOURCE formats/format_table.cpp formats/heif_picture.cpp APPEND PROPERTY
        COMPILE_DEFINITIONS QVA_HAVE_${name})
endfunction()
