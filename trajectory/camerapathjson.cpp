#include "trajectory/camerapath.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace tov::trajectory {

using tov::scene::Camera;
using tov::scene::Vector3;

namespace {

constexpr int Version = 1;
const std::pair<const char*, Ease> EaseNames[] = {
    {"none", Ease::None}, {"in", Ease::In}, {"out", Ease::Out}, {"in-out", Ease::InOut}};

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::trajectory", text);
}

/// Reads an array of exactly `count` numbers; false for anything else.
bool readNumbers(const QJsonValue& value, int count, double* numbers)
{
    const QJsonArray array = value.toArray();
    if (array.size() != count)
        return false;
    for (int i = 0; i < count; ++i) {
        numbers[i] = array[i].toDouble(std::nan(""));
        if (!std::isfinite(numbers[i]))
            return false;
    }
    return true;
}

/// Reads one view; on failure false, with the problem in `reason`.
bool readKey(const QJsonObject& object, CameraPath::Key& key, QString& reason)
{
    key.time = object[QLatin1String("time")].toDouble(std::nan(""));
    if (!std::isfinite(key.time)) {
        reason = tr("\"time\" must be a number");
        return false;
    }
    Camera lens;
    lens.distance = object[QLatin1String("distance")].toDouble(1);
    lens.fieldOfView = object[QLatin1String("fieldOfView")].toDouble(Camera::DefaultFieldOfView);
    lens.orthographic = object[QLatin1String("orthographic")].toBool();
    if (!(lens.distance > 0) || !(lens.fieldOfView >= Camera::MinFieldOfView) ||
        !(lens.fieldOfView <= Camera::MaxFieldOfView)) {
        reason = tr("\"distance\" must be above 0, \"fieldOfView\" from 1 to 150");
        return false;
    }
    std::optional<Camera> camera;
    if (object.contains(QLatin1String("matrix"))) {
        tov::math::Matrix4 matrix;
        if (!readNumbers(object[QLatin1String("matrix")], 16, matrix.data())) {
            reason = tr("\"matrix\" must be 16 numbers");
            return false;
        }
        camera = tov::scene::cameraOfPose(matrix, lens);
    } else {
        Vector3 position, target, up = {0, 1, 0};
        if (!readNumbers(object[QLatin1String("position")], 3, position.data()) ||
            !readNumbers(object[QLatin1String("target")], 3, target.data()) ||
            (object.contains(QLatin1String("up")) && !readNumbers(object[QLatin1String("up")], 3, up.data()))) {
            reason = tr("\"position\", \"target\" and \"up\" must be 3 numbers each");
            return false;
        }
        camera = tov::scene::lookAt(position, target, up, lens);
    }
    if (!camera) {
        reason = tr("the camera is not a valid view");
        return false;
    }
    key.camera = *camera;
    const double roll = object[QLatin1String("roll")].toDouble(0);
    if (roll != 0)
        key.camera.orbit(0, 0, roll);
    return true;
}

} // namespace

bool CameraPath::fromJson(const QByteArray& data, CameraPath& path, QString* error)
{
    const auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(data, &problem);
    if (problem.error != QJsonParseError::NoError)
        return fail(
            tr("line %1: %2").arg(QString::number(1 + data.left(problem.offset).count('\n')), problem.errorString()));
    const QJsonObject root = document.object();
    const double version = root[QLatin1String("version")].toDouble(0);
    if (version != Version)
        return fail(version > Version ? tr("the file was written by a newer version")
                                      : tr("\"version\" must be 1, the file is not a camera path"));
    Options options;
    options.loop = root[QLatin1String("loop")].toBool();
    options.duration = root[QLatin1String("duration")].toDouble(0);
    options.constantSpeed = root[QLatin1String("constantSpeed")].toBool();
    const QString ease = root[QLatin1String("ease")].toString(QStringLiteral("none"));
    bool known = false;
    for (const auto& [name, value] : EaseNames)
        if (ease == QLatin1String(name)) {
            options.ease = value;
            known = true;
        }
    if (!known)
        return fail(tr("\"ease\" must be none, in, out or in-out"));
    std::vector<Key> keys;
    const QJsonArray views = root[QLatin1String("keys")].toArray();
    for (const auto& value : views) {
        Key key;
        QString reason;
        if (!readKey(value.toObject(), key, reason))
            return fail(tr("view %1: %2").arg(QString::number(keys.size() + 1), reason));
        keys.push_back(key);
    }
    return create(std::move(keys), options, path, error);
}

QByteArray CameraPath::toJson() const
{
    QJsonArray keys;
    const auto numbers = [](const Vector3& v) { return QJsonArray{v[0], v[1], v[2]}; };
    for (const Key& key : m_Keys) {
        QJsonObject object{{QStringLiteral("time"), key.time},
                           {QStringLiteral("position"), numbers(key.camera.position())},
                           {QStringLiteral("target"), numbers(key.camera.target)},
                           {QStringLiteral("up"), numbers(key.camera.up())},
                           {QStringLiteral("fieldOfView"), key.camera.fieldOfView}};
        if (key.camera.orthographic)
            object[QStringLiteral("orthographic")] = true;
        keys.append(object);
    }
    QJsonObject root{{QStringLiteral("version"), Version}, {QStringLiteral("keys"), keys}};
    if (m_Options.loop)
        root[QStringLiteral("loop")] = true;
    if (m_Options.duration > 0)
        root[QStringLiteral("duration")] = m_Options.duration;
    if (m_Options.constantSpeed)
        root[QStringLiteral("constantSpeed")] = true;
    for (const auto& [name, value] : EaseNames)
        if (value == m_Options.ease && value != Ease::None)
            root[QStringLiteral("ease")] = QLatin1String(name);
    return QJsonDocument(root).toJson();
}

} // namespace tov::trajectory
