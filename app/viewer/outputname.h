#pragma once

#include <QString>

namespace tov::viewer {

/// The first name of a pattern that no file has yet. `{model}` stands for `model`, `{n}` for a number of three digits
/// that starts at 1; a pattern without `{n}` gets one at its end. `ending` has no dot. Thread: any.
QString nextFreeName(const QString& folder, const QString& pattern, const QString& model, const QString& ending);

/// The user's folder and pattern for pictures and recordings without a dialog; both are settings. Thread: any.
QString captureFolder();
QString capturePattern();
void setCaptureFolder(const QString& folder);
/// The formats of snapshots and of recordings without a dialog: endings without a dot. Thread: any.
QString snapshotFormat();
QString recordingFormat();
void setSnapshotFormat(const QString& ending);
void setRecordingFormat(const QString& ending);
void setCapturePattern(const QString& pattern);

} // namespace tov::viewer
