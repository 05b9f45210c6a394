#pragma once

#include "kernel/main/export.h"

#include <QStringList>

/// The part of the checker that is linked against the module, which needs an application object before it is loaded.
/// `arguments`: "--list FILE" or "--check NAME FILE ENDING FOLDER". Prints "format ENDING" and "about TEXT", or
/// "problem TEXT" lines. Returns the exit status.
extern "C" TOV_EXPORT int tovCheckEncoderPart(const QStringList& arguments);
