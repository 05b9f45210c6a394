#pragma once

/// The arguments of a call of `SceneDrawer::glDraw`, and the state of OpenGL at that moment.
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

/// Faults that the shim injects and calls that it reports. Thread: any.
struct ShimHooks
{
    int glErrors;                     ///< calls of glGetError that report "out of memory"
    bool failGrabAllocations;         ///< operator new throws when the module calls it
    bool refuseThreads;               ///< pthread_create fails
    void (*onCall)(const char* call); ///< called before some calls, named in glshim.cpp
    void (*onPixel)();                ///< called before QImage::setPixel
};
