#include "kernel/main/castclassmanager.h"

#include "kernel/math/matrix.h"

#include <QImage>
#include <QRegularExpression>
#include <QStringList>

#include <mutex>
#include <stdexcept>
#include <vector>

namespace tov::main {

namespace {

[[noreturn]] void refuse(const QString& text, const char* what)
{
    throw std::invalid_argument(
        QStringLiteral("\"%1\" is not a %2").arg(text, QString::fromLatin1(what)).toStdString());
}

/// Cast class of a type that is freed by `delete`.
template <typename T>
class PlainCast : public CastClass
{
public:
    PlainCast() : CastClass(false) {}
    void deleteValue(void* value) override { delete static_cast<T*>(value); }
};

class BoolCast : public PlainCast<bool>
{
public:
    void* fromString(const QString& text) override
    {
        const QString word = text.trimmed().toLower();
        for (const char* yes : {"1", "true", "yes", "on"})
            if (word == QLatin1String(yes))
                return new bool(true);
        for (const char* no : {"0", "false", "no", "off"})
            if (word == QLatin1String(no))
                return new bool(false);
        refuse(text, "truth value (1, 0, true, false, yes, no, on, off)");
    }
    QString toString(const void* value) override
    {
        return *static_cast<const bool*>(value) ? QStringLiteral("1") : QStringLiteral("0");
    }
};

class IntCast : public PlainCast<int>
{
public:
    void* fromString(const QString& text) override
    {
        bool ok = false;
        const int value = text.trimmed().toInt(&ok, 10);
        if (!ok)
            refuse(text, "whole number between -2147483648 and 2147483647");
        return new int(value);
    }
    QString toString(const void* value) override { return QString::number(*static_cast<const int*>(value)); }
};

class DoubleCast : public PlainCast<double>
{
public:
    void* fromString(const QString& text) override
    {
        bool ok = false;
        const double value = text.trimmed().toDouble(&ok);
        if (!ok)
            refuse(text, "number");
        return new double(value);
    }
    QString toString(const void* value) override
    {
        return QString::number(*static_cast<const double*>(value), 'g', 17);
    }
};

class ImageCast : public PlainCast<QImage>
{
public:
    void* fromString(const QString& text) override { refuse(text, "image: images have no text form"); }
    QString toString(const void* value) override
    {
        const auto* image = static_cast<const QImage*>(value);
        return QStringLiteral("%1x%2").arg(image->width()).arg(image->height());
    }
};

class MatrixCast : public PlainCast<tov::math::Matrix4>
{
public:
    void* fromString(const QString& text) override
    {
        static const QRegularExpression blanks(QStringLiteral("[\\s,;]+"));
        const QStringList words = text.split(blanks, Qt::SkipEmptyParts);
        if (words.size() != 16)
            refuse(text, "matrix of 16 numbers, row by row");
        auto matrix = std::make_unique<tov::math::Matrix4>();
        for (int i = 0; i < 16; ++i) {
            bool ok = false;
            matrix->data()[i] = words[i].toDouble(&ok);
            if (!ok)
                refuse(text, "matrix of 16 numbers, row by row");
        }
        return matrix.release();
    }
    QString toString(const void* value) override
    {
        const auto* matrix = static_cast<const tov::math::Matrix4*>(value);
        QStringList words;
        for (int i = 0; i < 16; ++i)
            words << QString::number(matrix->data()[i], 'g', 17);
        return words.join(QLatin1Char(' '));
    }
};

} // namespace

struct CastClassManager::Private
{
    std::mutex mutex;
    std::vector<std::pair<const std::type_info*, std::function<CastClass*()>>> types; ///< guarded by mutex
};

CastClassManager* CastClassManager::getInstance()
{
    static CastClassManager* instance = new CastClassManager;
    return instance;
}

CastClassManager::CastClassManager() : d(new Private)
{
    registerCastClass(typeid(bool), [] { return new BoolCast; });
    registerCastClass(typeid(int), [] { return new IntCast; });
    registerCastClass(typeid(double), [] { return new DoubleCast; });
    registerCastClass(typeid(QImage), [] { return new ImageCast; });
    registerCastClass(typeid(tov::math::Matrix4), [] { return new MatrixCast; });
}

CastClassManager::~CastClassManager() = default;

CastClass* CastClassManager::createCastClassForType(const std::type_info* type) const
{
    std::function<CastClass*()> create;
    {
        std::lock_guard<std::mutex> guard(d->mutex);
        for (const auto& [known, function] : d->types)
            if (type && *known == *type)
                create = function;
    }
    return create ? create() : nullptr;
}

void CastClassManager::registerCastClass(const std::type_info& type, std::function<CastClass*()> create)
{
    std::lock_guard<std::mutex> guard(d->mutex);
    for (auto& [known, function] : d->types)
        if (*known == type) {
            function = std::move(create);
            return;
        }
    d->types.emplace_back(&type, std::move(create));
}

} // namespace tov::main
