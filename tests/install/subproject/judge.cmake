# Is included after project() of a host, and judges at its end what ZelGL has changed.

# zelgl_settings(RESULT): what would change the host's own targets.
function(zelgl_settings result)
    set(text)
    foreach(name IN ITEMS CMAKE_BUILD_TYPE CMAKE_CXX_FLAGS CMAKE_CXX_STANDARD CMAKE_CXX_VISIBILITY_PRESET CMAKE_AUTOMOC
                          CMAKE_POSITION_INDEPENDENT_CODE CMAKE_PREFIX_PATH)
        string(APPEND text "${name}: ${${name}}, in the cache: $CACHE{${name}}\n")
    endforeach()
    foreach(name IN ITEMS COMPILE_OPTIONS COMPILE_DEFINITIONS INCLUDE_DIRECTORIES LINK_OPTIONS LINK_LIBRARIES)
        get_directory_property(value ${name})
        string(APPEND text "${name}: ${value}\n")
    endforeach()
    set(${result} "${text}" PARENT_SCOPE)
endfunction()

function(zelgl_judge)
    zelgl_settings(after)
    if(NOT zelgl_before STREQUAL after)
        message(FATAL_ERROR "Settings of the host are changed. They were:\n${zelgl_before}They are:\n${after}")
    endif()
    foreach(target IN ITEMS zelgl_testsupport zelgl_show zelgl_benchmarks zelglsl docs)
        if(TARGET ${target})
            message(FATAL_ERROR "${target} is of no use for a host")
        endif()
    endforeach()
endfunction()

zelgl_settings(zelgl_before)
cmake_language(DEFER CALL zelgl_judge)
