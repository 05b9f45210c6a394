#include "trajectory/trajectoryhandler.h"

#include "scene/scene.h"
#include "scene/view/scenepanel.h"
#include "scene/sceneview.h"
#include "scene/view/viewer.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/trajectoryinfo.h"
#include "trajectory/trajectoryreader.h"
#include "trajectory/trajectorysignals.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cmath>

namespace tov::trajectory {

using tov::math::Matrix4;
using tov::scene::Viewer;

namespace {

/// Trajectory files are small; what is larger is something else.
constexpr qint64 MaxFileSize = qint64(256) << 20;
constexpr double TwoPi = 6.28318530717958647692;

} // namespace

struct TrajectoryHandler::Private
{
    std::atomic<int> mode{ModeNone};
    TrajectoryInfo plain;
    AdvancedTrajectoryInfo advanced;
};

TrajectoryHandler* TrajectoryHandler::getInstance()
{
    static TrajectoryHandler* instance = [] {
        auto* handler = new TrajectoryHandler;
        // Whoever asks first, the signals are the application thread's.
        if (QCoreApplication::instance())
            handler->moveToThread(QCoreApplication::instance()->thread());
        return handler;
    }();
    return instance;
}

TrajectoryHandler::TrajectoryHandler() : d(new Private) {}
TrajectoryHandler::~TrajectoryHandler() = default;

void reportPosition(unsigned long position)
{
    TrajectoryHandler* handler = TrajectoryHandler::getInstance();
    QMetaObject::invokeMethod(
        handler, [handler, position] { emit handler->positionChanged(position); }, Qt::QueuedConnection);
}

int TrajectoryHandler::getSelectedMode() const
{
    return d->mode;
}

void TrajectoryHandler::selectMode(int mode)
{
    d->mode = mode == ModePlain || mode == ModeAdvanced ? mode : ModeNone;
    emit trajectoryChanged();
}

TrajectoryInfo* TrajectoryHandler::getTrajectoryInfo() const
{
    return &d->plain;
}

AdvancedTrajectoryInfo* TrajectoryHandler::getAdvancedTrajectoryInfo() const
{
    return &d->advanced;
}

unsigned long TrajectoryHandler::getCount() const
{
    switch (getSelectedMode()) {
    case ModePlain:
        return d->plain.getPoints().size();
    case ModeAdvanced:
        return d->advanced.getMatrixMapList() ? d->advanced.getMatrixMapList()->size() : 0;
    default:
        return 0;
    }
}

unsigned long TrajectoryHandler::getPosition() const
{
    switch (getSelectedMode()) {
    case ModePlain:
        return d->plain.getPosition();
    case ModeAdvanced:
        return d->advanced.getPosition();
    default:
        return 0;
    }
}

void TrajectoryHandler::setPosition(unsigned long position)
{
    switch (getSelectedMode()) {
    case ModePlain:
        d->plain.setPosition(position);
        break;
    case ModeAdvanced:
        d->advanced.setPosition(position);
        break;
    default:
        break;
    }
}

bool TrajectoryHandler::openFile(const QString& fileName, QString* error)
{
    const auto fail = [&](const QString& reason) {
        if (error)
            *error = tr("%1 cannot be opened as a trajectory: %2").arg(fileName, reason);
        return false;
    };
    const QFileInfo info(fileName);
    if (!info.exists())
        return fail(tr("there is no such file"));
    if (!info.isFile())
        return fail(tr("it is no ordinary file"));
    const QString suffix = info.suffix().toLower();
    const bool csv = suffix == QLatin1String("csv");
    const bool json = suffix == QLatin1String("json");
    if (!csv && !json && suffix != QLatin1String("tum") && suffix != QLatin1String("txt"))
        return fail(tr("files of the type \"%1\" cannot be read; known are csv, tum, txt and json").arg(suffix));
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return fail(file.errorString());
    if (file.size() > MaxFileSize)
        return fail(tr("it is larger than 256 MiB"));
    const QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return fail(file.errorString());
    QString reason;
    if (csv) {
        std::vector<Point> points;
        if (!TrajectoryReader::readCsv(data, points, &reason))
            return fail(reason);
        d->plain.setPoints(std::move(points));
    } else {
        MatrixMapList list;
        if (!(json ? TrajectoryReader::readJson(data, list, &reason) : TrajectoryReader::readTum(data, list, &reason)))
            return fail(reason);
        d->advanced.setMatrixMapList(std::move(list));
    }
    d->mode = csv ? ModePlain : ModeAdvanced;
    setPosition(0);
    emit trajectoryChanged();
    return true;
}

bool TrajectoryHandler::selectTurntable(int count, QString* error)
{
    const auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    if (count < 1)
        return fail(tr("A turntable needs at least one position"));
    auto* panel = Viewer::getInstance()->getActivePanel();
    if (!panel)
        return fail(tr("A turntable starts from a view: open a panel first"));
    const auto scene = Viewer::getInstance()->getGlobalScene();
    const double scaling = scene->getGlobalScaling();
    Matrix4 unscale = Matrix4::identity();
    for (unsigned int axis = 0; axis < 3; ++axis)
        unscale(axis, axis) = 1 / scaling;
    Matrix4 eyeToScene;
    if (!tov::scene::inverted(unscale * panel->getScaledTransformMatrix(), eyeToScene))
        return fail(tr("The view of the active panel cannot be turned"));
    scene->lock();
    const auto centre = tov::scene::centreOf(tov::scene::visibleBox(scene->getRootNode()));
    scene->unlock();
    MatrixMapList list;
    for (int i = 0; i < count; ++i) {
        const double angle = TwoPi * i / count;
        Matrix4 turn = Matrix4::identity();
        turn(0, 0) = turn(2, 2) = std::cos(angle);
        turn(0, 2) = std::sin(angle);
        turn(2, 0) = -turn(0, 2);
        // About the centre rather than the origin.
        turn(0, 3) = centre[0] - turn(0, 0) * centre[0] - turn(0, 2) * centre[2];
        turn(2, 3) = centre[2] - turn(2, 0) * centre[0] - turn(2, 2) * centre[2];
        list.push_back({{QStringLiteral("camera"), turn * eyeToScene}});
    }
    d->advanced.setMatrixMapList(std::move(list));
    d->mode = ModeAdvanced;
    setPosition(0);
    emit trajectoryChanged();
    return true;
}

} // namespace tov::trajectory
