# Installs, besides the libraries and headers: the pages of docs/, to which headers refer, the GLSL tree as documentation, and the
# files of find_package() and pkg-config. No file contains the prefix, so an installed tree can be moved.

include(CMakePackageConfigHelpers)

set(zelgl_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ZelGL)

# Outside of resourcesPath(): the library would read files there instead of its built-in ones, even older files.
install(DIRECTORY GLSL/include GLSL/src DESTINATION ${CMAKE_INSTALL_DOCDIR}/GLSL)
install(CODE "
    set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/ZelGL/GLSL\")
    if(EXISTS \"\${folder}\")
        message(WARNING \"The files in \${folder} replace those inside the library. If they are not yours, remove them.\")
    endif()")

install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}
    FILES_MATCHING PATTERN "*.md" PATTERN "environment-layouts.png" PATTERN "start_*.png" PATTERN "*.svg" PATTERN "16_packed.png"
    PATTERN "Picture.h" PATTERN "main.cpp"
    PATTERN man EXCLUDE PATTERN site EXCLUDE PATTERN snippets EXCLUDE) # they would be empty folders

install(EXPORT ZelGLTargets NAMESPACE ZelGL:: DESTINATION ${zelgl_package_dir})
configure_package_config_file(cmake/ZelGLConfig.cmake.in ${PROJECT_BINARY_DIR}/ZelGLConfig.cmake
    INSTALL_DESTINATION ${zelgl_package_dir}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZelGLConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ZelGLConfig.cmake ${PROJECT_BINARY_DIR}/ZelGLConfigVersion.cmake
    DESTINATION ${zelgl_package_dir})

file(RELATIVE_PATH zelgl_pc_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" zelgl_pc_prefix ${zelgl_pc_prefix})
foreach(package IN ITEMS ZelGL ZelShaders ZelCheck ZelKit)
    configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
