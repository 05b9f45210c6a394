#pragma once

#include "scene/drawing/environment.h"

#include <QString>

#include <memory>

namespace tov::scene {

/// Reads a Radiance picture (.hdr; equirectangular, the centre of the picture is -z, up is +y) in the sandboxed
/// importer process. On failure null, with one line in `error`. The result is shared by all calls for the same file
/// (name, size and time) while somebody uses it. Thread: any.
TOV_EXPORT std::shared_ptr<const Environment> readEnvironment(const QString& fileName, QString* error);

} // namespace tov::scene
