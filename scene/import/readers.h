#pragma once

#include "scene/geometryelement.h"
#include "scene/import/readprogress.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <stdexcept>

namespace tov::scene {

/// The problem of a file. Caught inside this library.
struct ReadError : std::runtime_error
{
    explicit ReadError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

/// The user cancelled reading.
struct ReadCancelled
{};

/// A file in memory and the receiver of progress reports.
struct ReadSource
{
    QString fileName;
    const char* begin;
    const char* end;
    const ReadProgress& progress;

    /// The size in bytes.
    std::size_t size() const { return std::size_t(end - begin); }
    /// Reports the progress of `at`; throws `ReadCancelled` when the user wants it to stop.
    void report(const char* at) const;
};

/// Each reads one format into a new tree, which the caller owns; throws `ReadError`.
SceneElement* readObj(const ReadSource& source);
/// PLY, text and binary.
SceneElement* readPly(const ReadSource& source);
/// STL, text and binary.
SceneElement* readStl(const ReadSource& source);

/// Throws when a coordinate is not a finite number.
void checkFinite(const std::vector<float>& values);

/// `Geometry::origin` for a model whose first vertex is `position`: zero, or that vertex where single precision is too
/// coarse for the coordinates.
std::array<double, 3> originFor(const double* position);

} // namespace tov::scene
