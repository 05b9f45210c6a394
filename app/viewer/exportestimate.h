#pragma once

#include <QSize>
#include <QString>

namespace tov::viewer {

/// How long an export takes and how large its file becomes, by what earlier exports of the same format took on this
/// machine. Thread: application.
class ExportEstimate
{
public:
    /// `format` is the ending of the file, without a dot.
    explicit ExportEstimate(const QString& format) : m_Format(format) {}

    /// What a finished export took. `frames` is 1 for a picture.
    struct Cost
    {
        double seconds = 0; ///< 0 = unknown
        qint64 bytes = 0;   ///< 0 = unknown
    };
    /// Stores the cost of `frames` frames of `size` pixels; too small exports are left out.
    void learn(const Cost& cost, const QSize& size, qint64 frames) const;
    /// What an export will take; both unknown before the first one.
    Cost predict(const QSize& size, qint64 frames) const;

private:
    QString keyOf(const char* figure) const;
    QString m_Format;
};

/// ", about 3 MB, about 2 min" for the known figures. Thread: application.
QString estimateText(const ExportEstimate::Cost& cost);

} // namespace tov::viewer
