#!/usr/bin/python3
"""The same jobs done with VTK, for peers.py: each call is one process.

    peer_vtk.py subdivide IN.obj OUT.ply                     four triangles of each, twice; binary
    peer_vtk.py box MODEL                                    prints the bounds: low and high x, y, z
    peer_vtk.py picture MODEL OUT.png WIDTH HEIGHT X Y Z DISTANCE smooth|facets
    peer_vtk.py video MODEL OUT.mp4 WIDTH HEIGHT FRAMES
    peer_vtk.py read MODEL                                   prints the seconds that reading took

The view is tov's: the same vertical angle, light from the camera, colours; a picture is seen from DISTANCE before X, Y, Z
along z. VTK draws models without normals in facets; "smooth" gives them normals as tov does, by the leanest settings.
"""
import math
import subprocess
import sys
import time

import vtk


HALF_HEIGHT = 0.4274205123390469  # of tov's pictures, at distance 1
KEPT = []  # what pipelines need, but do not hold


def reader_of(name):
    reader = vtk.vtkPLYReader() if name.endswith('.ply') else vtk.vtkOBJReader()
    reader.SetFileName(name)
    KEPT.append(reader)
    return reader


def window_of(model, width, height, smooth=True):
    port = reader_of(model).GetOutputPort()
    if smooth:
        normals = vtk.vtkPolyDataNormals()
        normals.SetInputConnection(port)
        normals.SplittingOff()
        normals.ConsistencyOff()
        KEPT.append(normals)
        port = normals.GetOutputPort()
    mapper = vtk.vtkPolyDataMapper()
    mapper.SetInputConnection(port)
    actor = vtk.vtkActor()
    actor.SetMapper(mapper)
    actor.GetProperty().SetColor(200 / 255, 200 / 255, 205 / 255)
    renderer = vtk.vtkRenderer()
    renderer.AddActor(actor)
    renderer.SetBackground(38 / 255, 42 / 255, 51 / 255)
    window = vtk.vtkRenderWindow()
    window.SetOffScreenRendering(1)
    window.SetMultiSamples(0)
    window.SetSize(width, height)
    window.AddRenderer(renderer)
    renderer.GetActiveCamera().SetViewAngle(2 * math.degrees(math.atan(HALF_HEIGHT)))
    renderer.ResetCamera()
    return window, renderer


def box(model):
    reader = reader_of(model)
    reader.Update()
    low_high = reader.GetOutput().GetBounds()
    print(*low_high[0::2], *low_high[1::2])


def subdivide(model, out):
    triangles = vtk.vtkTriangleFilter()
    triangles.SetInputConnection(reader_of(model).GetOutputPort())
    finer = vtk.vtkLinearSubdivisionFilter()
    finer.SetNumberOfSubdivisions(2)
    finer.SetInputConnection(triangles.GetOutputPort())
    writer = vtk.vtkPLYWriter()
    writer.SetFileTypeToBinary()
    writer.SetFileName(out)
    writer.SetInputConnection(finer.GetOutputPort())
    writer.Write()


def picture(model, out, width, height, x, y, z, distance, shading):
    magnification = 5  # of 2, 4, 5, 8, 10, 20 the fastest for both models; with fewer, larger tiles it needs more memory
    window, renderer = window_of(model, int(width) // magnification, int(height) // magnification, shading == 'smooth')
    camera = renderer.GetActiveCamera()
    camera.SetFocalPoint(float(x), float(y), float(z))
    camera.SetPosition(float(x), float(y), float(z) + float(distance))
    camera.SetViewUp(0, 1, 0)
    renderer.ResetCameraClippingRange()
    large = vtk.vtkRenderLargeImage()
    large.SetInput(renderer)
    large.SetMagnification(magnification)
    writer = vtk.vtkPNGWriter()
    writer.SetFileName(out)
    writer.SetInputConnection(large.GetOutputPort())
    window.Render()
    writer.Write()


def video(model, out, width, height, frames):
    # Debian's build has no FFmpeg writer: the frames go to the ffmpeg program, in the coder and preset that tov uses.
    window, renderer = window_of(model, int(width), int(height))
    grab = vtk.vtkWindowToImageFilter()
    grab.SetInput(window)
    grab.SetInputBufferTypeToRGB()
    grab.ReadFrontBufferOff()
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


{'subdivide': subdivide, 'box': box, 'picture': picture, 'video': video, 'read': read}[sys.argv[1]](*sys.argv[2:])
