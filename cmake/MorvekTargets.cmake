# morvek_configure_target(<target>): what every target of this project is built with.

# Messages carry their source file; map it (and debug information) to a path inside the project, so
# that nothing shipped tells where it was built.
set(MORVEK_PATH_MAP_FLAGS
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/="
    "-ffile-prefix-map=${PROJECT_BINARY_DIR}/=build/"
)

if(MORVEK_SANITIZER STREQUAL "address")
    set(MORVEK_SANITIZER_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
elseif(MORVEK_SANITIZER STREQUAL "thread")
    set(MORVEK_SANITIZER_FLAGS -fsanitize=thread -fno-omit-frame-pointer)
    # Fences, which ThreadSanitizer does not know, stand only where another process is written to or
    # read, which it does not see either.
    set(MORVEK_SANITIZER_COMPILE_FLAGS $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>
        "SHELL:-include ${PROJECT_SOURCE_DIR}/tests/tsan/sharing.h")
elseif(MORVEK_SANITIZER)
    message(FATAL_ERROR "MORVEK_SANITIZER is '${MORVEK_SANITIZER}': expected empty, address or thread")
endif()

if(MORVEK_BUILD_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "MORVEK_BUILD_FUZZERS needs clang (the preset fuzz sets it)")
    endif()
    # What tells a fuzzer which code an input reached.
    list(APPEND MORVEK_SANITIZER_FLAGS -fsanitize=fuzzer-no-link)
endif()

function(morvek_configure_target target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        AUTOMOC ON
    )
    # Without QT_MESSAGELOGCONTEXT a release build would log neither file nor line nor function.
    target_compile_definitions(${target} PRIVATE QT_MESSAGELOGCONTEXT QT_NO_KEYWORDS)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow
        $<$<BOOL:${MORVEK_WARNINGS_AS_ERRORS}>:-Werror>
        ${MORVEK_PATH_MAP_FLAGS}
        ${MORVEK_SANITIZER_FLAGS}
        ${MORVEK_SANITIZER_COMPILE_FLAGS}
    )
    get_target_property(type ${target} TYPE)
    if(NOT type STREQUAL "OBJECT_LIBRARY" AND NOT type STREQUAL "STATIC_LIBRARY")
        target_link_options(${target} PRIVATE ${MORVEK_SANITIZER_FLAGS})
    endif()
    if(type STREQUAL "SHARED_LIBRARY")
        target_link_options(${target} PRIVATE $<$<NOT:$<BOOL:${MORVEK_SANITIZER}>>:LINKER:--no-undefined>)
        set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
    elseif(type STREQUAL "EXECUTABLE")
        if(MORVEK_SANITIZER STREQUAL "thread" AND MORVEK_BUILD_TESTS)
            target_sources(${target} PRIVATE $<TARGET_OBJECTS:morvek_tsan_interposer>)
            # Also what only a library of Qt's calls, which the program itself is not linked to.
            target_link_options(${target} PRIVATE LINKER:--export-dynamic)
        endif()
        set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    endif()
endfunction()

# morvek_library_includes(<target> <folder name>): a library's headers are found both as
# <header.h> and as <folder/header.h>, in the build tree and after installation.
function(morvek_library_includes target folder)
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src/libs>
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src/libs/${folder}>
        $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/generated>
        $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/generated/${folder}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/${folder}>
    )
endfunction()
