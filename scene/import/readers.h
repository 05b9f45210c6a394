#pragma once

#include "scene/geometryelement.h"
#include "scene/import/sceneimport.h"

#include <QByteArray>
#include <QString>

#include <stdexcept>

namespace tov::scene {

/// What is wrong with a file. Stays inside this library.
struct ReadError : std::runtime_error
{
    explicit ReadError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

/// The person stopped the reading.
struct ReadCancelled
{};

/// A file in memory and who is told how far its reading has come.
struct ReadSource
{
    QString fileName;
    const char* begin;
    const char* end;
    const SceneImport::Progress& progress;

    std::size_t size() const { return std::size_t(end - begin); }
    /// Reports how far `at` is; throws `ReadCancelled` when the person wants it to stop.
    void report(const char* at) const;
};

/// Each reads one format into a new tree, which the caller owns; throws `ReadError`.
SceneElement* readObj(const ReadSource& source);
SceneElement* readPly(const ReadSource& source);
SceneElement* readStl(const ReadSource& source);

/// Throws when a coordinate is no finite number.
void checkFinite(const std::vector<float>& values);

} // namespace tov::scene
