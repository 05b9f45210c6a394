# Debian packages: tov (the program) and tov-dev (for authors of encoder plug-ins). scripts/package makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tov)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${TOV_PACKAGE_CONTACT})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_THREADS 0)
# Otherwise it would become the first line of each description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_NAME} built using CMake")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL tov tov-dev)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
  WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_TOV_PACKAGE_NAME tov)
set(CPACK_DEBIAN_TOV_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOV_DESCRIPTION "viewer for 3D scenes, with pictures of any size and videos
tov shows glTF, OBJ, PLY, STL, FBX, Collada and other models with their
materials, textures and animations. It makes pictures of up to 200,000
pixels in width and videos of turntables, animations and camera paths, in
its window and from the command line, with or without a screen.")
# What the program loads at run time: the drivers and Qt's pictures in TIFF and WEBP.
set(CPACK_DEBIAN_TOV_PACKAGE_DEPENDS "libegl1, libgl1-mesa-dri, libegl-mesa0, qt5-image-formats-plugins")
# The sandbox of thumbnails.
set(CPACK_DEBIAN_TOV_PACKAGE_RECOMMENDS bubblewrap)
set(CPACK_DEBIAN_TOV_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/lib ${CMAKE_BINARY_DIR}/bin/modules)

set(CPACK_DEBIAN_TOV-DEV_PACKAGE_NAME tov-dev)
set(CPACK_DEBIAN_TOV-DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_TOV-DEV_DESCRIPTION "encoder plug-ins for tov: headers and template
Headers, a CMake package, a template and an example for plug-ins that add
video formats to tov.")
# The package of the program must have the same version: the layout of the encoder class is part of the interface.
set(CPACK_DEBIAN_TOV-DEV_PACKAGE_DEPENDS "tov (= ${PROJECT_VERSION}), qtbase5-dev, cmake, make | ninja-build, g++")
include(CPack)
