#pragma once

/// What `SceneDrawer::glDraw` was called with, and the state of OpenGL at that moment.
struct ShimDraw
{
    const void* root;
    const void* second;
    double transform[16];
    double lineOffset;
    int layers, primitives;
    int shadeModel, depthTest, lighting, light0, colorMaterial, matrixMode;
    unsigned char colorMask[4];
    double modelView[16];
};
