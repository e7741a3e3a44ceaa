# What all targets of the project have in common.

# zelgl_target_defaults(TARGET): language level, warnings, sanitizers.
function(zelgl_target_defaults target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow)
    if(ZELGL_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${ZELGL_SANITIZE} -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${ZELGL_SANITIZE})
    endif()
endfunction()

# zelgl_library_defaults(TARGET): the above, and soname, version and include path of a shared library.
function(zelgl_library_defaults target)
    zelgl_target_defaults(${target})
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR})
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()
