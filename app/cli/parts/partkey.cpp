#include "app/cli/parts/partkey.h"

#include "app/cli/parts/digest.h"
#include "app/cli/outputs/picture.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <optional>

namespace tov::app {

namespace {

/// Digits of the digest (of 64) that are used; enough to make every key unique.
constexpr int KeyDigits = 32;
/// To be increased when the same facts lead to different frames or different parts.
constexpr int KeyVersion = 1;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

bool addFile(Digest& digest, const QString& fileName, QString* error)
{
    if (fileName.isEmpty()) {
        digest.add(QByteArray());
        return true;
    }
    QFile file(fileName);
    // Opening anything but a regular file could block.
    const bool isRegular = !QFileInfo::exists(fileName) || QFileInfo(fileName).isFile();
    if (!isRegular || !file.open(QIODevice::ReadOnly)) {
        *error =
            tr("cannot read '%1': %2").arg(fileName, isRegular ? file.errorString() : tr("it is not a regular file"));
        return false;
    }
    // The suffix determines how the file is read.
    digest.add(QFileInfo(fileName).suffix().toLower());
    digest.add(file.readAll());
    return true;
}

void addOptional(Digest& digest, const std::optional<double>& value)
{
    digest.add(value.has_value());
    digest.add(value.value_or(0));
}

void addOptional(Digest& digest, const std::optional<ViewRequest::Vector>& value)
{
    digest.add(value.has_value());
    digest.add(value.value_or(ViewRequest::Vector{}));
}

void addMatrix(Digest& digest, const std::optional<tov::math::Matrix4>& matrix)
{
    digest.add(matrix.has_value());
    if (matrix)
        digest.addBytes(matrix->data(), 16 * sizeof(double));
}

void addSize(Digest& digest, const QSize& size)
{
    digest.add(size.width());
    digest.add(size.height());
}

/// What the request takes from a scene file and no other digest contains. Names of files do not count: the same scene
/// may be in another folder on another machine.
void addScene(Digest& digest, const ViewRequest& view)
{
    SceneFile scene;
    if (view.scene) {
        scene.motion = view.scene->motion;
        scene.motion.selection.file.clear();
        scene.extent = view.scene->extent;
        scene.look.clip = view.scene->look.clip;
    }
    if (view.sceneCamera)
        scene.views.push_back({*view.sceneCamera, true});
    digest.add(scene.toJson(QStringLiteral("/")));
}

bool addView(Digest& digest, const ViewRequest& view, QString* error)
{
    digest.add(view.camera);
    addMatrix(digest, view.transform);
    std::optional<tov::math::Matrix4> stored;
    if (!view.like.isEmpty()) {
        stored = readStoredView(view.like, error);
        if (!stored)
            return false;
    }
    addMatrix(digest, stored);
    for (const double value : {view.azimuth, view.elevation, view.roll, view.zoom})
        digest.add(value);
    addOptional(digest, view.position);
    addOptional(digest, view.target);
    addOptional(digest, view.up);
    addOptional(digest, view.fieldOfView);
    digest.add(view.isOrthographic);
    addSize(digest, view.panel);
    addScene(digest, view);
    return true;
}

/// The background and the samples are in the facts.
bool addLook(Digest& digest, const LookRequest& look, QString* error)
{
    digest.add(look.exposure.value_or(1));
    digest.add(look.show.isEmpty() ? QStringLiteral("surface") : look.show);
    digest.add(look.isFlat);
    digest.add(look.hasFeatureEdges);
    digest.add(look.color.has_value());
    digest.add(quint64(look.color.value_or(QColor()).rgba64()));
    digest.add(qint64(look.opacities.size()));
    for (const auto& [name, opacity] : look.opacities) {
        digest.add(name);
        digest.add(opacity);
    }
    addOptional(digest, look.pointSize);
    addOptional(digest, look.lineWidth);
    const bool isFile = look.light.endsWith(QLatin1String(".hdr"), Qt::CaseInsensitive);
    digest.add(isFile ? QString() : look.light.isEmpty() ? QStringLiteral("studio") : look.light);
    return addFile(digest, isFile ? look.light : QString(), error);
}

/// The trajectory or camera path of a request.
QString fileOf(const MotionRequest& motion, const ViewRequest& view)
{
    return motion.kind == MotionRequest::Kind::Scene ? view.scene->motion.selection.file : motion.file;
}

bool addMotion(Digest& digest, const MotionRequest& motion, const ViewRequest& view, QString* error)
{
    digest.add(motion.kind);
    digest.add(motion.animation.has_value());
    digest.add(motion.animation.value_or(QString()));
    digest.add(motion.positions);
    addOptional(digest, motion.seconds);
    digest.add(motion.turns);
    digest.add(motion.swing);
    digest.add(motion.axis.isEmpty() ? QStringLiteral("up") : motion.axis);
    digest.add(motion.isEased);
    digest.add(motion.isRepeated);
    digest.add(motion.takesEveryPosition);
    return addFile(digest, fileOf(motion, view), error);
}

} // namespace

QString partKey(const VideoRequest& request, const RecordingFacts& facts, QString* error)
{
    Digest digest;
    digest.add(QStringLiteral(TOV_VERSION));
    digest.add(KeyVersion);
    digest.add(facts.scene);
    digest.add(facts.view.isEmpty() ? QStringLiteral("front") : facts.view);
    digest.add(quint64(facts.background.rgba64()));
    digest.add(facts.ending);
    digest.add(facts.fps);
    digest.add(facts.kbps);
    digest.add(facts.samples);
    digest.add(request.parts.count);
    addSize(digest, request.size);
    if (!addView(digest, request.view, error) || !addLook(digest, request.view.look, error) ||
        !addMotion(digest, request.motion, request.view, error))
        return QString();
    return QString::fromLatin1(digest.result().toHex().left(KeyDigits));
}

} // namespace tov::app
