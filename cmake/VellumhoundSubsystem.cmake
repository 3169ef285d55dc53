# SPDX-License-Identifier: GPL-3.0-or-later
# One folder under src/ is one library with one-way links. See docs/architecture.md.

add_library(vellumhound_options INTERFACE)
target_compile_options(vellumhound_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Werror)
target_compile_definitions(vellumhound_options INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH QT_NO_KEYWORDS)
set(VELLUMHOUND_SANITIZERS "" CACHE STRING "for example address,undefined")
if(VELLUMHOUND_SANITIZERS)
    target_compile_options(vellumhound_options INTERFACE -fsanitize=${VELLUMHOUND_SANITIZERS}
        -fno-omit-frame-pointer)
    target_link_options(vellumhound_options INTERFACE -fsanitize=${VELLUMHOUND_SANITIZERS})
endif()

add_custom_target(check-headers)

# Stops the configure when a file of this folder is in no target's list: a file that is not built is a lie.
# Nested folders (widgets/, linux/) are targets of their own and check themselves.
function(vellumhound_expect_all_listed listed)
    file(GLOB found CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} *.h *.cpp)
    list(REMOVE_ITEM found ${listed})
    if(found)
        message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR}: listed in no target: ${found}")
    endif()
endfunction()

# vellumhound_subsystem(<folder under src> SOURCES … [DEPENDS subsystem…] [QT Core…] [LINK target…])
# "base/widgets" makes the target vellumhound_base_widgets. Its include root holds links to the listed
# headers alone, so another folder's header is found only through a declared DEPENDS.
function(vellumhound_subsystem folder)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;DEPENDS;QT;LINK;ALSO_LISTED")
    string(REPLACE "/" "_" name ${folder})
    set(root ${PROJECT_BINARY_DIR}/include/${name})
    file(REMOVE_RECURSE ${root})
    file(MAKE_DIRECTORY ${root}/${folder})
    set(probes)
    foreach(file IN LISTS arg_SOURCES)
        if(file MATCHES "\\.h$")
            file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${file} ${root}/${folder}/${file} SYMBOLIC)
            # A source includes its own header first (the style check sees to it), so that compiling the source shows
            # that the header needs nothing before it. Headers without a source get a probe.
            string(REGEX REPLACE "\\.h$" ".cpp" source ${file})
            if(NOT source IN_LIST arg_SOURCES)
                set(probe ${PROJECT_BINARY_DIR}/header-check/${folder}/${file}.cpp)
                file(CONFIGURE OUTPUT ${probe} CONTENT "#include \"${folder}/${file}\"\n")
                list(APPEND probes ${probe})
            endif()
        endif()
    endforeach()
    add_library(vellumhound_${name} STATIC ${arg_SOURCES})
    target_include_directories(vellumhound_${name} PUBLIC ${root})
    foreach(dep IN LISTS arg_DEPENDS)
        string(REPLACE "/" "_" dep_name ${dep})
        if(NOT TARGET vellumhound_${dep_name})
            message(FATAL_ERROR "${folder} may not depend on ${dep}: it is not declared below it")
        endif()
        target_link_libraries(vellumhound_${name} PUBLIC vellumhound_${dep_name})
    endforeach()
    vellumhound_expect_all_listed("${arg_SOURCES};${arg_ALSO_LISTED}")
    list(TRANSFORM arg_QT PREPEND Qt6::)
    target_link_libraries(vellumhound_${name} PUBLIC ${arg_QT} ${arg_LINK} PRIVATE vellumhound_options)
    if(probes)
        add_library(vellumhound_${name}_headers OBJECT EXCLUDE_FROM_ALL ${probes})
        set_target_properties(vellumhound_${name}_headers PROPERTIES AUTOMOC OFF)
        target_link_libraries(vellumhound_${name}_headers PRIVATE vellumhound_${name} vellumhound_options)
        add_dependencies(check-headers vellumhound_${name}_headers)
    endif()
endfunction()

# Tests are compiled once and run once: optimizing them costs more than it gives. They share a precompiled header, so
# all have the flags that some of the linked libraries ask for (-pthread, _LARGEFILE64_SOURCE), and what ccache needs.
set(VELLUMHOUND_TEST_OPTIONS $<$<CONFIG:Debug>:-O0> -pthread -D_LARGEFILE64_SOURCE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)

# What nearly every test includes, read once. Only tests have it: in src/ a source names all that it uses, and a
# precompiled header would hide what it forgot. The toolkit's parts beyond QtCore differ from test to test.
function(vellumhound_precompiled_tests)
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/precompiled_tests.cpp CONTENT "")
    add_library(vellumhound_precompiled_tests OBJECT ${PROJECT_BINARY_DIR}/precompiled_tests.cpp)
    set_target_properties(vellumhound_precompiled_tests PROPERTIES AUTOMOC OFF)
    target_link_libraries(vellumhound_precompiled_tests PRIVATE Qt6::Core vellumhound_options)
    target_compile_options(vellumhound_precompiled_tests PRIVATE ${VELLUMHOUND_TEST_OPTIONS})
    target_precompile_headers(vellumhound_precompiled_tests PRIVATE
        <QtCore> <algorithm> <chrono> <coroutine> <functional> <memory> <optional> <vector>)
endfunction()

# vellumhound_test(<tst_File.cpp> SUBSYSTEM <folder> [SUPPORT target…] [TIMEOUT s] [LABELS …])
# Links that subsystem and nothing above it. Runs without a display unless PLATFORM says otherwise.
function(vellumhound_test file)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "SUBSYSTEM;TIMEOUT;PLATFORM" "SUPPORT;LABELS;ENVIRONMENT;WRAPPER;LINK")
    get_filename_component(target ${file} NAME_WE)
    string(REPLACE "/" "_" name ${arg_SUBSYSTEM})
    # One call of moc is all that a test needs; AUTOMOC would add three steps and a source to each.
    set(moc ${CMAKE_CURRENT_BINARY_DIR}/moc/${target}.moc)
    add_custom_command(OUTPUT ${moc} DEPENDS ${file}
        COMMAND Qt6::moc ${CMAKE_CURRENT_SOURCE_DIR}/${file} -o ${moc})
    add_executable(${target} ${file} ${moc})
    set_target_properties(${target} PROPERTIES AUTOMOC OFF)
    target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/moc)
    target_compile_options(${target} PRIVATE ${VELLUMHOUND_TEST_OPTIONS})
    target_precompile_headers(${target} REUSE_FROM vellumhound_precompiled_tests)
    target_link_libraries(${target} PRIVATE vellumhound_${name} vellumhound_testsupport
        vellumhound_options Qt6::Test ${arg_LINK})
    foreach(support IN LISTS arg_SUPPORT)
        target_link_libraries(${target} PRIVATE vellumhound_${support})
    endforeach()
    set_property(DIRECTORY APPEND PROPERTY VELLUMHOUND_TESTS ${file})
    if(NOT arg_PLATFORM)
        set(arg_PLATFORM offscreen)
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 60)
    endif()
    add_test(NAME ${target} COMMAND ${arg_WRAPPER} $<TARGET_FILE:${target}>)
    set_tests_properties(${target} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${name};${arg_LABELS}"
        ENVIRONMENT "QT_QPA_PLATFORM=${arg_PLATFORM};LC_ALL=C.UTF-8;TZ=UTC;QT_FORCE_STDERR_LOGGING=1;${arg_ENVIRONMENT}")
endfunction()

# Last line of each test folder: stops the configure when a tst_*.cpp of the folder is in no list.
function(vellumhound_expect_all_tested)
    get_directory_property(tests VELLUMHOUND_TESTS)
    file(GLOB found CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} tst_*.cpp)
    list(REMOVE_ITEM found ${tests})
    if(found)
        message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR}: listed in no test: ${found}")
    endif()
endfunction()
