// Poses of formats that store one pose per key.

#include "tests/trajectory/posereference.h"

#include <QFile>
#include <QFileInfo>
#include <QQuaternion>
#include <QRegularExpression>
#include <QTextStream>

#include <cmath>
#include <cstring>
#include <memory>

namespace tov::test {

namespace {

QByteArray contentOf(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Twenty frames from `first` to `last`.
std::vector<unsigned long> spread(unsigned long first, unsigned long last)
{
    std::vector<unsigned long> frames;
    for (unsigned long i = 0; i < 20; ++i)
        frames.push_back(first + i * (last - first) / 19);
    return frames;
}

/// +Z up to +Y up.
QVector3D standing(const QVector3D& v)
{
    return {v.x(), v.z(), -v.y()};
}

struct BvhJoint
{
    QString name;
    int parent;
    QVector3D offset;
    QStringList channels;
};

struct Bvh
{
    std::vector<BvhJoint> joints;
    std::vector<std::vector<float>> frames;
    double frameTime = 1;

    explicit Bvh(const QString& fileName)
    {
        QTextStream text(contentOf(fileName));
        std::vector<int> open;
        for (QString word; !text.atEnd();) {
            text >> word;
            if (word == "ROOT" || word == "JOINT" || word == "End") {
                BvhJoint joint{QString(), open.empty() ? -1 : open.back(), {}, {}};
                QString name;
                text >> name;
                if (word != "End")
                    joint.name = name;
                open.push_back(int(joints.size()));
                joints.push_back(joint);
            } else if (word == "OFFSET") {
                float x, y, z;
                text >> x >> y >> z;
                joints.back().offset = {x, y, z};
            } else if (word == "CHANNELS") {
                int count;
                text >> count;
                for (QString channel; count > 0; --count) {
                    text >> channel;
                    joints.back().channels << channel;
                }
            } else if (word == "}") {
                open.pop_back();
            } else if (word == "MOTION") {
                readFrames(text);
            }
        }
    }

    void readFrames(QTextStream& text)
    {
        QString word;
        std::size_t count, channels = 0;
        text >> word >> count >> word >> word >> frameTime;
        for (const BvhJoint& joint : joints)
            channels += std::size_t(joint.channels.size());
        frames.assign(count, std::vector<float>(channels));
        for (auto& frame : frames)
            for (float& value : frame)
                text >> value;
    }

    ReferencePose poseAt(double seconds) const
    {
        const auto& values = frames[std::size_t(std::lround(seconds / frameTime))];
        std::vector<QMatrix4x4> world;
        ReferencePose pose;
        std::size_t next = 0;
        for (const BvhJoint& joint : joints) {
            QVector3D place = joint.offset;
            QMatrix4x4 turn;
            for (const QString& channel : joint.channels) {
                const float value = values[next++];
                const int axis = channel[0].unicode() - 'X';
                QVector3D unit;
                unit[axis] = 1;
                if (channel.endsWith("position"))
                    place[axis] = value;
                else
                    turn.rotate(value, unit);
            }
            QMatrix4x4 matrix = joint.parent < 0 ? QMatrix4x4() : world[std::size_t(joint.parent)];
            matrix.translate(place);
            world.push_back(matrix * turn);
            if (!joint.name.isEmpty())
                pose.nodes[joint.name] = world.back().column(3).toVector3D();
        }
        return pose;
    }
};

std::vector<float> numbersOf(const QString& text)
{
    static const QRegularExpression separators("[\\s;,]+");
    std::vector<float> numbers;
    for (const QString& word : text.split(separators, Qt::SkipEmptyParts))
        numbers.push_back(word.toFloat());
    return numbers;
}

/// Keys of a frame of an X file by kind: 0 rotation (w, x, y, z), 1 scale, 2 position.
typedef std::map<int, std::map<int, std::vector<float>>> XKeys;

/// The frames from the root down to `name`.
QStringList chainOf(const QString& text, const QString& name)
{
    static const QRegularExpression tokens("Frame\\s+(\\w+)\\s*\\{|[{}]");
    QStringList open; // empty for braces that are not those of frames
    for (auto it = tokens.globalMatch(text); it.hasNext();) {
        const auto match = it.next();
        if (match.captured() == "}") {
            open.removeLast();
            continue;
        }
        open << match.captured(1);
        if (match.captured(1) == name)
            break;
    }
    open.removeAll(QString());
    return open;
}

} // namespace

PoseReference bvhReference(const QString& fileName)
{
    const auto bvh = std::make_shared<Bvh>(fileName);
    bvh->joints.front().name = QFileInfo(fileName).completeBaseName(); // the root of a tree has the name of its file
    PoseReference reference;
    reference.fps = 1 / bvh->frameTime;
    reference.frames = spread(0, bvh->frames.size() - 1);
    reference.poseAt = [bvh](double seconds) { return bvh->poseAt(seconds); };
    return reference;
}

PoseReference xReference(const QString& fileName, double ticksPerSecond)
{
    const QString text = QString::fromLatin1(contentOf(fileName));
    static const QRegularExpression animation("Animation \\{\\s*\\{ (\\w+) \\}(.*?)\\n    \\}",
                                              QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression keys("AnimationKey \\{([^}]*)\\}");
    std::map<QString, XKeys> moved;
    for (auto it = animation.globalMatch(text); it.hasNext();) {
        const auto match = it.next();
        for (auto key = keys.globalMatch(match.captured(2)); key.hasNext();) {
            const std::vector<float> numbers = numbersOf(key.next().captured(1));
            auto& track = moved[match.captured(1)][int(numbers[0])];
            for (std::size_t at = 2; at + 1 < numbers.size(); at += 2 + std::size_t(numbers[at + 1]))
                track[int(numbers[at])] =
                    std::vector<float>(numbers.begin() + std::ptrdiff_t(at + 2),
                                       numbers.begin() + std::ptrdiff_t(at + 2) + std::ptrdiff_t(numbers[at + 1]));
        }
    }
    std::map<QString, QStringList> chains;
    for (const auto& entry : moved)
        chains[entry.first] = chainOf(text, entry.first);
    PoseReference reference;
    reference.fps = ticksPerSecond;
    reference.frames = spread(1, 24);
    reference.poseAt = [moved, chains, ticksPerSecond](double seconds) {
        const int tick = int(std::lround(seconds * ticksPerSecond));
        ReferencePose pose;
        for (const auto& [name, chain] : chains) {
            QMatrix4x4 world;
            for (const QString& frame : chain) {
                XKeys tracks = moved.at(frame);
                const auto &r = tracks[0][tick], &s = tracks[1][tick], &t = tracks[2][tick];
                world.translate(t[0], t[1], t[2]);
                // The rotations of the format apply to row vectors.
                world.rotate(QQuaternion(-r[0], r[1], r[2], r[3]).normalized());
                world.scale(s[0], s[1], s[2]);
            }
            const QVector3D place = world.column(3).toVector3D();
            pose.nodes[name] = {place.x(), place.y(), -place.z()}; // left-handed
        }
        return pose;
    };
    return reference;
}

PoseReference turningObject3dsReference(const QString& fileName)
{
    const QByteArray bytes = contentOf(fileName);
    // The chunks are found by their numbers and sizes: points, local axes, pivot and turns.
    const auto chunk = [&bytes](int id, int size) {
        QByteArray head(6, 0);
        const std::uint32_t length = std::uint32_t(size);
        head[0] = char(id & 255);
        head[1] = char(id >> 8);
        std::memcpy(head.data() + 2, &length, 4);
        return bytes.constData() + bytes.indexOf(head) + 6;
    };
    const auto real = [](const char* at) {
        float value;
        std::memcpy(&value, at, 4);
        return value;
    };
    const char* points = chunk(0x4110, 320) + 2;
    const char* axes = chunk(0x4160, 54);
    const char* turns = chunk(0xb021, 4024) + 14;
    QMatrix4x4 modelled; // the object's matrix when its points were written
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 3; ++row)
            modelled(row, column) = real(axes + 4 * (3 * column + row));
    std::vector<QVector3D> vertices;
    for (int i = 0; i < 26; ++i)
        vertices.push_back(modelled.inverted().map(
            QVector3D(real(points + 12 * i), real(points + 12 * i + 4), real(points + 12 * i + 8))));
    PoseReference reference;
    reference.fps = 30;
    reference.frames = spread(0, 180);
    reference.poseAt = [=, owner = bytes](double seconds) { // `turns` points into the bytes
        const int frame = int(std::lround(seconds * 30));
        // A key turns the object further, clockwise about an axis of the scene. With these signs frame 180 has exactly
        // the axes of the object's matrix in the file.
        QMatrix4x4 turned;
        for (int key = 0; key <= frame; ++key) {
            const char* at = turns + 22 * key + 6; // after time and flags
            if (real(at) == 0)
                continue; // without an axis
            QMatrix4x4 step;
            step.rotate(-float(real(at) * 180 / M_PI), real(at + 4), real(at + 8), real(at + 12));
            turned = step * turned;
        }
        turned.setColumn(3, modelled.column(3));
        ReferencePose pose;
        for (const QVector3D& vertex : vertices)
            pose.vertices.push_back(standing(turned.map(vertex)));
        return pose;
    };
    return reference;
}

PoseReference colladaArmatureReference(const QString& fileName)
{
    const QString text = QString::fromUtf8(contentOf(fileName));
    const auto numbers = [&text](const QString& id) {
        const int begin = text.indexOf('>', text.indexOf("id=\"" + id + '"')) + 1;
        return numbersOf(text.mid(begin, text.indexOf('<', begin) - begin));
    };
    const auto times = numbers("Armature_ArmatureAction_transform-input-array");
    const auto matrices = numbers("Armature_ArmatureAction_transform-output-array");
    const auto inverse = numbers("Armature_Cube-skin-bind_poses-array");
    const auto corners = numbers("Cube-mesh-positions-array");
    // The matrices of the armature and of the shape when it was bound, as the file has them.
    const QMatrix4x4 armature(1, 0, 0, 1, 0, 1, 0, -1, 0, 0, 1, 0, 0, 0, 0, 1);
    const QMatrix4x4 bound(1, 0, 0, -1, 0, 1, 0, 1, 0, 0, 1, 1, 0, 0, 0, 1);
    PoseReference reference;
    reference.fps = 24;
    reference.frames = spread(1, times.size());
    reference.poseAt = [=](double seconds) {
        const auto key = std::size_t(std::lround(seconds * 24)) - 1;
        // The animation of the armature's name moves the joint.
        const QMatrix4x4 joint = armature * QMatrix4x4(&matrices[16 * key]); // row by row
        ReferencePose pose;
        pose.nodes["Armature"] = standing(armature.column(3).toVector3D());
        pose.nodes["Armature_Bone"] = standing(joint.column(3).toVector3D());
        const QMatrix4x4 skin = joint * QMatrix4x4(inverse.data()) * bound;
        for (std::size_t i = 0; i + 2 < corners.size(); i += 3)
            pose.vertices.push_back(standing(skin.map(QVector3D(corners[i], corners[i + 1], corners[i + 2]))));
        return pose;
    };
    return reference;
}

} // namespace tov::test
