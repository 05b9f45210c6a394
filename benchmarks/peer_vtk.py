#!/usr/bin/python3
"""The same jobs done with VTK, for peers.py: each call is one process.

    peer_vtk.py subdivide IN.obj OUT.ply                     each triangle split into 16; binary
    peer_vtk.py nothing                                      draws an empty window once
    peer_vtk.py box MODEL                                    prints the bounds: low and high x, y, z
    peer_vtk.py picture MODEL OUT.png WIDTH HEIGHT X Y Z DISTANCE smooth|facets TILES
    peer_vtk.py video MODEL OUT.mp4 WIDTH HEIGHT FRAMES
    peer_vtk.py read MODEL                                   prints the seconds that reading took

The view is the same as in tov: vertical angle, colours. The look is of the same kind: physically based and computed for each
pixel, textures included, with 4 samples; but VTK has only a light at the camera, and no environment, which is less work. A
picture looks along z at X, Y, Z from DISTANCE, in TILES x TILES tiles. VTK draws models without normals in facets; "smooth" computes normals, as tov does, with the settings
that take least memory.
"""
import math
import subprocess
import sys
import time

# Only the classes in use: importing all of VTK takes longer and more memory.
from vtkmodules.vtkFiltersCore import vtkPolyDataNormals, vtkTriangleFilter
from vtkmodules.vtkFiltersHybrid import vtkRenderLargeImage
from vtkmodules.vtkFiltersModeling import vtkLinearSubdivisionFilter
from vtkmodules.vtkIOGeometry import vtkOBJReader
from vtkmodules.vtkIOImage import vtkPNGWriter
from vtkmodules.vtkIOImport import vtkGLTFImporter
from vtkmodules.vtkIOPLY import vtkPLYReader, vtkPLYWriter
from vtkmodules.vtkRenderingCore import vtkActor, vtkPolyDataMapper, vtkRenderer, vtkRenderWindow, vtkWindowToImageFilter
import vtkmodules.vtkRenderingOpenGL2  # noqa: F401  the renderer


HALF_HEIGHT = 0.4274205123390469  # of tov's pictures, at distance 1
VIDEO_CLOSER = 1.326  # times closer than ResetCamera, so that the model is as large as in tov's turntable
SAMPLES = 4  # as tov by default
KEPT = []  # objects that pipelines use without owning them


def reader_of(name):
    reader = vtkPLYReader() if name.endswith('.ply') else vtkOBJReader()
    reader.SetFileName(name)
    KEPT.append(reader)
    return reader


def is_gltf(model):
    return model.endswith(('.glb', '.gltf'))


def actor_of(model, smooth):
    port = reader_of(model).GetOutputPort()
    if smooth:
        normals = vtkPolyDataNormals()
        normals.SetInputConnection(port)
        normals.SplittingOff()
        normals.ConsistencyOff()
        KEPT.append(normals)
        port = normals.GetOutputPort()
    mapper = vtkPolyDataMapper()
    mapper.SetInputConnection(port)
    actor = vtkActor()
    actor.SetMapper(mapper)
    look = actor.GetProperty()
    look.SetColor(200 / 255, 200 / 255, 205 / 255)
    look.SetInterpolationToPBR()
    look.SetMetallic(0)
    look.SetRoughness(0.6)
    return actor


def window_of(model, width, height, smooth=True):
    renderer = vtkRenderer()
    renderer.SetBackground(38 / 255, 42 / 255, 51 / 255)
    window = vtkRenderWindow()
    window.SetOffScreenRendering(1)
    window.SetMultiSamples(SAMPLES)
    window.SetSize(width, height)
    window.AddRenderer(renderer)
    if is_gltf(model):
        # With the materials and textures of the file.
        importer = vtkGLTFImporter()
        importer.SetFileName(model)
        importer.SetRenderWindow(window)
        importer.Update()
        KEPT.append(importer)
    else:
        renderer.AddActor(actor_of(model, smooth))
    renderer.ResetCamera()  # which also resets the angle to the default, 30 degrees
    camera = renderer.GetActiveCamera()
    camera.Dolly(math.sin(math.atan(HALF_HEIGHT)) / math.sin(math.radians(15)))
    camera.SetViewAngle(2 * math.degrees(math.atan(HALF_HEIGHT)))
    renderer.ResetCameraClippingRange()
    return window, renderer


def nothing():
    window = vtkRenderWindow()
    window.SetOffScreenRendering(1)
    window.AddRenderer(vtkRenderer())
    window.SetSize(200, 200)
    window.Render()


def box(model):
    if is_gltf(model):
        low_high = window_of(model, 200, 200)[1].ComputeVisiblePropBounds()
    else:
        reader = reader_of(model)
        reader.Update()
        low_high = reader.GetOutput().GetBounds()
    print(*low_high[0::2], *low_high[1::2])


def subdivide(model, out):
    triangles = vtkTriangleFilter()
    triangles.SetInputConnection(reader_of(model).GetOutputPort())
    finer = vtkLinearSubdivisionFilter()
    finer.SetNumberOfSubdivisions(2)
    finer.SetInputConnection(triangles.GetOutputPort())
    writer = vtkPLYWriter()
    writer.SetFileTypeToBinary()
    writer.SetFileName(out)
    writer.SetInputConnection(finer.GetOutputPort())
    writer.Write()


def picture(model, out, width, height, x, y, z, distance, shading, tiles):
    magnification = int(tiles)
    window, renderer = window_of(model, int(width) // magnification, int(height) // magnification, shading == 'smooth')
    camera = renderer.GetActiveCamera()
    camera.SetFocalPoint(float(x), float(y), float(z))
    camera.SetPosition(float(x), float(y), float(z) + float(distance))
    camera.SetViewUp(0, 1, 0)
    # Tiles of any size show 4 % less than the camera's angle in total. This angle compensates for that.
    camera.SetViewAngle(48.18)
    renderer.ResetCameraClippingRange()
    large = vtkRenderLargeImage()
    large.SetInput(renderer)
    large.SetMagnification(magnification)
    writer = vtkPNGWriter()
    writer.SetFileName(out)
    writer.SetInputConnection(large.GetOutputPort())
    writer.Write()


def video(model, out, width, height, frames):
    # Debian's VTK has no FFmpeg writer, so the ffmpeg program encodes the frames with the codec and preset that tov uses.
    window, renderer = window_of(model, int(width), int(height))
    renderer.GetActiveCamera().Dolly(VIDEO_CLOSER)
    renderer.ResetCameraClippingRange()
    grab = vtkWindowToImageFilter()
    grab.SetInput(window)
    grab.SetInputBufferTypeToRGB()
    grab.ReadFrontBufferOff()
    grab.ShouldRerenderOff()
    coder = subprocess.Popen(
        ['ffmpeg', '-v', 'error', '-y', '-f', 'rawvideo', '-pix_fmt', 'rgb24', '-s', f'{width}x{height}', '-r', '25', '-i', '-',
         '-vf', 'vflip', '-c:v', 'libx264', '-preset', 'veryfast', '-b:v', '1200k', '-pix_fmt', 'yuv420p', out],
        stdin=subprocess.PIPE)
    for _ in range(int(frames)):
        renderer.GetActiveCamera().Azimuth(360 / int(frames))
        window.Render()
        grab.Modified()
        grab.Update()
        coder.stdin.write(memoryview(grab.GetOutput().GetPointData().GetScalars()))
    coder.stdin.close()
    if coder.wait() != 0:
        sys.exit(1)


def read(model):
    reader = reader_of(model)
    start = time.perf_counter()
    reader.Update()
    print(time.perf_counter() - start)


{'subdivide': subdivide, 'nothing': nothing, 'box': box, 'picture': picture, 'video': video, 'read': read}[sys.argv[1]](*sys.argv[2:])
