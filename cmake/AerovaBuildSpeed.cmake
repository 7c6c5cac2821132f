# What keeps a build short: ccache when it is installed, and the common Qt headers compiled once
# (src/Precompiled.h) and shared by every target of the project.

option(AEROVA_PRECOMPILED_HEADERS "Compile the common Qt headers once and share them" ON)

# ccache, when installed, for every compile; the precompiled header's own defines and dates must
# not make every entry a miss
find_program(AEROVA_CCACHE ccache)
if(AEROVA_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env
        "CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime" "${AEROVA_CCACHE}")
endif()

# lld (else gold) links the many test programs in a fraction of the default linker's time
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    find_program(AEROVA_LLD ld.lld)
    find_program(AEROVA_GOLD ld.gold)
    if(AEROVA_LLD)
        add_link_options(-fuse-ld=lld)
    elseif(AEROVA_GOLD)
        add_link_options(-fuse-ld=gold)
    endif()
    # debug information stays beside each object (.dwo) instead of being copied into every
    # program that links the library: gdb reads it there
    add_compile_options($<$<CONFIG:Debug,RelWithDebInfo>:-gsplit-dwarf>)
    # where each local of optimised code lives is not tracked (an eighth of an optimised file's
    # compile): backtraces, lines and arguments stay; a Debug build shows every local
    add_compile_options($<$<CONFIG:RelWithDebInfo>:-fno-var-tracking>)
endif()

# Called once every target exists: aerovacore compiles the common header, the tests' support
# library compiles it with the test headers; every other target takes one of the two.
function(aerova_share_precompiled_headers)
    if(NOT AEROVA_PRECOMPILED_HEADERS)
        return()
    endif()
    set(common "${PROJECT_SOURCE_DIR}/src/Precompiled.h")
    target_precompile_headers(aerovacore PRIVATE "${common}")
    if(TARGET aerovatestsupport)
        target_precompile_headers(aerovatestsupport PRIVATE "${common}" <QTest> <QSignalSpy> <QTemporaryDir>)
    endif()
    foreach(directory src tools tests bench fuzz)
        if(NOT EXISTS "${PROJECT_BINARY_DIR}/${directory}")
            continue()
        endif()
        get_property(targets DIRECTORY "${PROJECT_SOURCE_DIR}/${directory}" PROPERTY BUILDSYSTEM_TARGETS)
        foreach(target IN LISTS targets)
            get_target_property(type ${target} TYPE)
            if(target MATCHES "^(aerovacore|aerovatestsupport)$" OR NOT type MATCHES "^(EXECUTABLE|STATIC_LIBRARY)$")
                continue()
            endif()
            get_target_property(links ${target} LINK_LIBRARIES)
            # the tests' own (the benchmarks that use their fixture are built elsewhere, with
            # other test defines)
            if(directory STREQUAL "tests" AND "aerovatestsupport" IN_LIST links)
                target_precompile_headers(${target} REUSE_FROM aerovatestsupport)
                # a test includes its own moc output: the generated file around it is empty
                get_target_property(binaryDir ${target} BINARY_DIR)
                set_source_files_properties("${binaryDir}/${target}_autogen/mocs_compilation.cpp"
                    TARGET_DIRECTORY ${target} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
            else()
                target_precompile_headers(${target} REUSE_FROM aerovacore)
            endif()
        endforeach()
    endforeach()
endfunction()
