#pragma once

#include "app/cli/options/requests.h"
#include "kernel/math/matrix.h"

#include <QImage>

#include <optional>

namespace tov::app {

/// The colour that the drawer has to blend over so that `finishPicture` can make the requested background. Thread:
/// any.
QColor drawnBackground(const Background& background, bool hasAlpha, const QColor& initial);

/// True for picture formats that store transparency. Thread: any.
bool hasPictureAlpha(const QString& format);

/// Converts a drawn picture (colour blended over `drawnBackground`, coverage in the alpha channel) in place into the
/// one that is stored: straight alpha, or opaque on the requested background. Thread: any.
void finishPicture(QImage& image, const Background& background, bool hasAlpha);

/// What is stored in a picture so that it can be reproduced: its view and the program. Thread: any.
void storePictureFacts(QImage& image, const QStringList& models, const tov::math::Matrix4& transform,
                       const QString& options);
/// The view that `storePictureFacts` stored in a file; no value, with one line in `error`, if the file has none.
/// Thread: any.
std::optional<tov::math::Matrix4> readStoredView(const QString& fileName, QString* error);

} // namespace tov::app
