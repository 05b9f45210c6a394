// The code of tinygltf, which is a header-only library. Images and files are read by our own functions.

#include <fstream>

#define TINYGLTF_IMPLEMENTATION
#include <tiny_gltf.h>
