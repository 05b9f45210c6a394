#pragma once

#include <QCoreApplication>
#include <QTranslator>

namespace tov::test {

/// While it lives, every text that is translated begins with "tr:". Thread: application.
class MarkingTranslator : public QTranslator
{
public:
    MarkingTranslator() { QCoreApplication::installTranslator(this); }
    ~MarkingTranslator() override { QCoreApplication::removeTranslator(this); }

    QString translate(const char*, const char* text, const char*, int) const override
    {
        return QStringLiteral("tr:") + QString::fromUtf8(text);
    }
    bool isEmpty() const override { return false; }
};

} // namespace tov::test
