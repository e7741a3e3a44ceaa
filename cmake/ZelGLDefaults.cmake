# Settings of all targets of the project.

# zelgl_target_defaults(TARGET): language level, warnings, sanitizers.
function(zelgl_target_defaults target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        UNITY_BUILD OFF) # sources repeat names; a project that contains ZelGL may set it for all its targets
    # Other libraries never replace the functions of a library, so its own calls need not go through the dynamic linker. Programs
    # have the option too, since they share precompiled headers with the libraries.
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -fno-semantic-interposition)
    if(ZELGL_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${ZELGL_SANITIZE} -fno-sanitize-recover=all
            -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${ZELGL_SANITIZE})
    endif()
    if(ZELGL_FUZZ)
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link) # reports coverage to the fuzzer
    endif()
endfunction()

if(ZELGL_SANITIZE MATCHES "address")
    add_library(zelgl_keep_drivers_loaded OBJECT cmake/KeepDriversLoaded.cpp)
    zelgl_target_defaults(zelgl_keep_drivers_loaded)
endif()

if(ZELGL_SANITIZE MATCHES "thread")
    add_library(zelgl_qmutex_order OBJECT cmake/QMutexOrder.cpp)
    zelgl_target_defaults(zelgl_qmutex_order)
    target_link_libraries(zelgl_qmutex_order PUBLIC Qt5::Core ${CMAKE_DL_LIBS})
endif()

# zelgl_program_defaults(TARGET): zelgl_target_defaults() for a program that makes a context, with what the sanitizers need:
# drivers stay until the leak check, and the locks of Qt are seen.
function(zelgl_program_defaults target)
    zelgl_target_defaults(${target})
    if(TARGET zelgl_keep_drivers_loaded)
        target_link_libraries(${target} PRIVATE zelgl_keep_drivers_loaded)
    endif()
    if(TARGET zelgl_qmutex_order)
        target_link_libraries(${target} PRIVATE zelgl_qmutex_order)
    endif()
endfunction()

# zelgl_precompile_qt(TARGET [HEADER...]): precompiles the headers that most sources of the target include, which halves its
# compile time. A source still includes what it uses: CMAKE_DISABLE_PRECOMPILE_HEADERS=ON builds without them.
function(zelgl_precompile_qt target)
    target_precompile_headers(${target} PRIVATE
        <QtCore/QByteArray> <QtCore/QHash> <QtCore/QList> <QtCore/QMap> <QtCore/QObject> <QtCore/QSet> <QtCore/QString>
        <QtCore/QStringList> <QtCore/QVariant> <QtCore/QVector>
        <QtGui/QColor> <QtGui/QImage> <QtGui/QMatrix4x4> <QtGui/QVector2D> <QtGui/QVector3D> <QtGui/QVector4D>
        <algorithm> <array> <cmath> <functional> <limits> <memory> <vector>
        ${ARGN})
endfunction()

# zelgl_share_precompiled(TARGET): as zelgl_precompile_qt(TARGET <ZelGL/ZelGL.h>), with one file for all targets, which must link
# ZelGL.
function(zelgl_share_precompiled target)
    if(NOT TARGET zelgl_precompiled)
        file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/precompiled.cpp CONTENT "// Only its precompiled headers are used.\n")
        add_library(zelgl_precompiled OBJECT ${PROJECT_BINARY_DIR}/precompiled.cpp)
        zelgl_target_defaults(zelgl_precompiled)
        target_link_libraries(zelgl_precompiled PRIVATE ZelGL)
        zelgl_precompile_qt(zelgl_precompiled <ZelGL/ZelGL.h>)
    endif()
    target_precompile_headers(${target} REUSE_FROM zelgl_precompiled)
endfunction()

# zelgl_find_openexr(): find_package(OpenEXR REQUIRED) without the status text of Debian's Imath package, which lists a Python
# library that is in another package and that C++ programs do not need.
function(zelgl_find_openexr)
    set(CMAKE_MESSAGE_LOG_LEVEL WARNING)
    find_package(OpenEXR REQUIRED)
endfunction()

# zelgl_check_link_time_optimisation(RESULT): whether a release build can have it. CMake's own check does not use the flags that
# choose a linker, and lld links no objects of GCC that have it.
function(zelgl_check_link_time_optimisation result)
    include(CheckIPOSupported)
    check_ipo_supported(RESULT works OUTPUT ignored LANGUAGES CXX)
    string(STRIP "${CMAKE_SHARED_LINKER_FLAGS} ${CMAKE_SHARED_LINKER_FLAGS_RELEASE} ${CMAKE_CXX_FLAGS}" flags)
    if(works AND flags)
        file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/linkTimeOptimisation.cpp CONTENT "int main() {}\n")
        set(CMAKE_EXE_LINKER_FLAGS "${flags}")
        try_compile(ZELGL_LINKS_IPO ${PROJECT_BINARY_DIR}/linkTimeOptimisation ${PROJECT_BINARY_DIR}/linkTimeOptimisation.cpp
            CMAKE_FLAGS -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON)
        set(works ${ZELGL_LINKS_IPO})
    endif()
    if(NOT works)
        message(STATUS "Without link-time optimisation, which the linker lacks: ZelGL")
    endif()
    set(${result} ${works} PARENT_SCOPE)
endfunction()

# zelgl_library_defaults(TARGET): zelgl_target_defaults(), and the soname, version and include path of a shared library.
function(zelgl_library_defaults target)
    zelgl_target_defaults(${target})
    # QtCore keeps texts of the libraries, such as patterns of QRegExp, up to its own end: dlclose() must not unmap them.
    target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions -Wl,-z,nodelete)
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        INSTALL_RPATH $ORIGIN) # the two libraries are in the same folder, also after the tree is moved
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()

# Builds everything that is installed, and nothing else.
add_custom_target(zelgl_installed)

# zelgl_install_library(TARGET HEADERS ...): installs the library and its headers, as a part of the package.
function(zelgl_install_library target)
    cmake_parse_arguments(ARG "" "" "HEADERS" ${ARGN})
    install(TARGETS ${target} EXPORT ZelGLTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(FILES ${ARG_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${target})
    add_dependencies(zelgl_installed ${target})
    list(TRANSFORM ARG_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    set_target_properties(${target} PROPERTIES ZELGL_INSTALLED_HEADERS "${ARG_HEADERS}") # read by docs/
endfunction()

# zelgl_install_tool(TARGET): installs a program, which finds the libraries relative to its own path, its manual page
# docs/man/TARGET.1, which a test compares with --help, and the completion of its options in bash.
function(zelgl_install_tool target)
    file(RELATIVE_PATH libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(${target} PROPERTIES INSTALL_RPATH $ORIGIN/${libraries})
    install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    set(page ${PROJECT_SOURCE_DIR}/docs/man/${target}.1)
    install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/completion/${target} CONTENT "complete -F _longopt ${target}\n")
    install(FILES ${PROJECT_BINARY_DIR}/completion/${target}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    if(ZELGL_BUILD_TESTS)
        add_test(NAME ManualPage.${target} COMMAND ${PROJECT_SOURCE_DIR}/tools/manpage $<TARGET_FILE:${target}> ${page} --check)
    endif()
    add_dependencies(zelgl_installed ${target})
endfunction()
