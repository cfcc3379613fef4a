# What every target of this project is built with, and the functions that define one.

add_library(kestrune_settings INTERFACE)
target_compile_features(kestrune_settings INTERFACE cxx_std_17)
target_compile_definitions(kestrune_settings INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_FOREACH
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)

add_library(kestrune_warnings INTERFACE)
target_compile_options(kestrune_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor
    -Woverloaded-virtual -Wnull-dereference -Wcast-qual
    $<$<BOOL:${KESTRUNE_WARNINGS_AS_ERRORS}>:-Werror>)

# kestrune_library(<folder> SOURCES <file>... LINKS <target>...)
#
# The static library kestrune_<folder> of one subsystem. LINKS are PUBLIC: they are the arrows of
# the architecture and nothing else is linked.
function(kestrune_library folder)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    set(target kestrune_${folder})
    add_library(${target} STATIC ${arg_SOURCES})
    target_compile_features(${target} PUBLIC cxx_std_17)
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${target}
        PUBLIC ${arg_LINKS}
        PRIVATE kestrune_settings kestrune_warnings)
    set_target_properties(${target} PROPERTIES
        AUTOMOC ON
        CXX_EXTENSIONS OFF
        POSITION_INDEPENDENT_CODE ON)
endfunction()

# kestrune_executable(<target> SOURCES <file>... LINKS <target>...)
function(kestrune_executable target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    add_executable(${target} ${arg_SOURCES})
    target_compile_features(${target} PRIVATE cxx_std_17)
    target_link_libraries(${target}
        PRIVATE ${arg_LINKS} kestrune_settings kestrune_warnings)
    set_target_properties(${target} PROPERTIES AUTOMOC ON CXX_EXTENSIONS OFF)
endfunction()
