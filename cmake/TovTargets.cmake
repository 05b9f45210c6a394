# tov_add_library(NAME SOURCES ... LIBS ...)
# Adds a shared library of the host, in lib/.
function(tov_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;PRIVATE_LIBS" ${ARGN})
  add_library(${name} SHARED ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES AUTOMOC ON BUILD_RPATH "$ORIGIN" INSTALL_RPATH "$ORIGIN")
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${ARG_LIBS} PRIVATE ${ARG_PRIVATE_LIBS})
endfunction()

# tov_add_video_encoder(NAME SOURCES ... LIBS ...)
# Adds an encoder plug-in, in bin/plugins/video/, linked against the Grab module.
function(tov_add_video_encoder name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} MODULE ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES
    PREFIX "" AUTOMOC ON
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/plugins/video
    BUILD_RPATH "$ORIGIN/../../modules;$ORIGIN/../../../lib"
    INSTALL_RPATH "$ORIGIN/../../modules;$ORIGIN/../../../lib")
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
  target_compile_definitions(${name} PRIVATE TOV_VERSION="${PROJECT_VERSION}")
  target_link_libraries(${name} PRIVATE grab ${ARG_LIBS})
  set_property(GLOBAL APPEND PROPERTY TOV_VIDEO_ENCODERS ${name})
endfunction()
