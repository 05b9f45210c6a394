#!/usr/bin/python3
"""The same jobs done with VTK, for peers.py: each call is one process.

    peer_vtk.py subdivide IN.obj OUT.ply                     four triangles of each, twice; binary
    peer_vtk.py picture MODEL OUT.png WIDTH HEIGHT
    peer_vtk.py video MODEL OUT.mp4 WIDTH HEIGHT FRAMES
    peer_vtk.py read MODEL                                   prints the seconds that reading took
"""
import subprocess
import sys
import time

import vtk


KEPT = []  # what pipelines need, but do not hold


def reader_of(name):
    reader = vtk.vtkPLYReader() if name.endswith('.ply') else vtk.vtkOBJReader()
    reader.SetFileName(name)
    KEPT.append(reader)
    return reader


def window_of(model, width, height):
    mapper = vtk.vtkPolyDataMapper()
    mapper.SetInputConnection(reader_of(model).GetOutputPort())
    actor = vtk.vtkActor()
    actor.SetMapper(mapper)
    renderer = vtk.vtkRenderer()
    renderer.AddActor(actor)
    renderer.SetBackground(0.15, 0.16, 0.2)
    window = vtk.vtkRenderWindow()
    window.SetOffScreenRendering(1)
    window.SetMultiSamples(0)
    window.SetSize(width, height)
    window.AddRenderer(renderer)
    renderer.ResetCamera()
    return window, renderer


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


def picture(model, out, width, height):
    magnification = 10
    window, renderer = window_of(model, int(width) // magnification, int(height) // magnification)
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


{'subdivide': subdivide, 'picture': picture, 'video': video, 'read': read}[sys.argv[1]](*sys.argv[2:])
