# How this project builds its parts: one static library for each folder of src/, which may include
# only what it links. Headers are included by their path below src/ ("base/FileUrl.h").

add_library(halvenor_options INTERFACE)
target_compile_definitions(
    halvenor_options INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY
                               QT_NO_KEYWORDS QT_NO_FOREACH QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
target_compile_options(halvenor_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                                  -Woverloaded-virtual -Wcast-qual -Werror)
if(NOT HALVENOR_SANITIZE)
    # Functions that nothing calls are left out of the programs.
    target_compile_options(halvenor_options INTERFACE -ffunction-sections -fdata-sections)
    add_link_options(-Wl,--gc-sections)
else()
    target_compile_options(halvenor_options INTERFACE -fsanitize=${HALVENOR_SANITIZE}
                                                      -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(halvenor_options INTERFACE -fsanitize=${HALVENOR_SANITIZE})
endif()

# Headers are reached through one folder of links for each library, so that a library sees its own
# headers and those of what it links, and nothing else: a wrong include does not compile.
function(halvenor_library name)
    cmake_parse_arguments(ARG "" "FOLDER" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(halvenor_${name} STATIC ${ARG_SOURCES})
    set(include_root ${CMAKE_BINARY_DIR}/include/${name})
    get_filename_component(parent ${include_root}/${ARG_FOLDER} DIRECTORY)
    file(MAKE_DIRECTORY ${parent})
    file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${ARG_FOLDER} ${include_root}/${ARG_FOLDER} SYMBOLIC)
    target_include_directories(halvenor_${name} PUBLIC ${include_root})
    target_link_libraries(
        halvenor_${name}
        PUBLIC ${ARG_PUBLIC}
        PRIVATE halvenor_options ${ARG_PRIVATE})
endfunction()
