// Poses of glTF files, by the formulas of the glTF 2.0 specification (3.7 and appendix C).

#include "tests/trajectory/posereference.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QQuaternion>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace tov::test {

namespace {

using Values = std::vector<float>;

class Gltf
{
public:
    explicit Gltf(const QString& fileName)
    {
        QFile file(fileName);
        if (file.open(QIODevice::ReadOnly))
            m_Root = QJsonDocument::fromJson(file.readAll()).object();
        for (const QJsonValue& buffer : m_Root["buffers"].toArray()) {
            const QString uri = buffer["uri"].toString();
            if (uri.startsWith("data:")) {
                m_Buffers.push_back(QByteArray::fromBase64(uri.mid(uri.indexOf(',') + 1).toLatin1()));
            } else {
                QFile binary(QFileInfo(fileName).path() + '/' + uri);
                m_Buffers.push_back(binary.open(QIODevice::ReadOnly) ? binary.readAll() : QByteArray());
            }
        }
    }

    double duration() const
    {
        float last = 0;
        for (const QJsonValue& sampler : animation()["samplers"].toArray())
            last = std::max(last, accessor(sampler["input"]).back());
        return double(last);
    }

    ReferencePose poseAt(double seconds)
    {
        m_Nodes = m_Root["nodes"].toArray();
        m_Weights.assign(std::size_t(m_Nodes.size()), {});
        for (const QJsonValue& channel : animation()["channels"].toArray())
            play(channel.toObject(), seconds);
        m_World.assign(std::size_t(m_Nodes.size()), QMatrix4x4());
        ReferencePose pose;
        for (const QJsonValue& scene : m_Root["scenes"].toArray())
            for (const QJsonValue& node : scene["nodes"].toArray())
                place(node.toInt(), QMatrix4x4(), pose);
        if (m_Root.contains("skins"))
            for (const QJsonValue& joint : m_Root["skins"].toArray()[0].toObject()["joints"].toArray())
                pose.joints.push_back(m_World[std::size_t(joint.toInt())].column(3).toVector3D());
        for (int i = 0; i < m_Nodes.size(); ++i)
            if (m_Nodes[i].toObject().contains("mesh"))
                addVertices(i, pose);
        return pose;
    }

private:
    QJsonObject animation() const { return m_Root["animations"].toArray()[0].toObject(); }

    Values accessor(const QJsonValue& index) const
    {
        const QJsonObject accessor = m_Root["accessors"].toArray()[index.toInt()].toObject();
        const QJsonObject view = m_Root["bufferViews"].toArray()[accessor["bufferView"].toInt()].toObject();
        const std::map<QString, int> components = {{"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4}, {"MAT4", 16}};
        const int each = components.at(accessor["type"].toString()), type = accessor["componentType"].toInt();
        const int size = type == 5126 || type == 5125 ? 4 : type == 5123 ? 2 : 1;
        const int stride = view["byteStride"].toInt(each * size);
        const QByteArray& bytes = m_Buffers[std::size_t(view["buffer"].toInt())];
        const int begin = view["byteOffset"].toInt() + accessor["byteOffset"].toInt();
        Values values;
        for (int i = 0; i < accessor["count"].toInt(); ++i)
            for (int c = 0; c < each; ++c) {
                const char* at = bytes.constData() + begin + i * stride + c * size;
                std::uint32_t whole = 0;
                std::memcpy(&whole, at, std::size_t(size));
                float real = float(whole);
                if (type == 5126)
                    std::memcpy(&real, at, 4);
                values.push_back(real);
            }
        return values;
    }

    static QQuaternion quaternion(const float* v) { return QQuaternion(v[3], v[0], v[1], v[2]); }

    void play(const QJsonObject& channel, double seconds)
    {
        const QJsonObject sampler = animation()["samplers"].toArray()[channel["sampler"].toInt()].toObject();
        const Values times = accessor(sampler["input"]), values = accessor(sampler["output"]);
        const QString path = channel["target"]["path"].toString(), kind = sampler["interpolation"].toString("LINEAR");
        const bool spline = kind == "CUBICSPLINE";
        const std::size_t each = values.size() / times.size() / (spline ? 3 : 1);
        const float t = std::clamp(float(seconds), times.front(), times.back());
        std::size_t key = 0;
        while (key + 2 < times.size() && times[key + 1] <= t)
            ++key;
        const float span = times.size() > 1 ? times[key + 1] - times[key] : 1;
        const float s = (t - times[key]) / span;
        const auto value = [&](std::size_t k, int part) {
            return &values[(k * (spline ? 3 : 1) + std::size_t(part)) * each];
        };
        Values now(each);
        for (std::size_t i = 0; i < each; ++i) {
            if (times.size() == 1 || (kind == "STEP" && s < 1)) {
                now[i] = value(key, spline ? 1 : 0)[i];
            } else if (spline) {
                const float s2 = s * s, s3 = s2 * s;
                now[i] = (2 * s3 - 3 * s2 + 1) * value(key, 1)[i] + span * (s3 - 2 * s2 + s) * value(key, 2)[i] +
                         (3 * s2 - 2 * s3) * value(key + 1, 1)[i] + span * (s3 - s2) * value(key + 1, 0)[i];
            } else {
                const float share = kind == "STEP" ? 1 : s;
                now[i] = (1 - share) * value(key, 0)[i] + share * value(key + 1, 0)[i];
            }
        }
        if (path == "rotation" && kind == "LINEAR" && times.size() > 1) {
            const QQuaternion q = QQuaternion::slerp(quaternion(value(key, 0)).normalized(),
                                                     quaternion(value(key + 1, 0)).normalized(), s);
            now = {q.x(), q.y(), q.z(), q.scalar()};
        }
        set(channel["target"]["node"].toInt(), path, now);
    }

    void set(int node, const QString& path, const Values& now)
    {
        if (path == "weights") {
            m_Weights[std::size_t(node)] = now;
            return;
        }
        QJsonArray numbers;
        for (const float number : now)
            numbers.append(double(number));
        QJsonObject changed = m_Nodes[node].toObject();
        changed[path] = numbers;
        m_Nodes[node] = changed;
    }

    static Values numbers(const QJsonValue& array, Values fallback)
    {
        if (!array.isArray())
            return fallback;
        Values values;
        for (const QJsonValue& number : array.toArray())
            values.push_back(float(number.toDouble()));
        return values;
    }

    void place(int index, const QMatrix4x4& parent, ReferencePose& pose)
    {
        const QJsonObject node = m_Nodes[index].toObject();
        QMatrix4x4 local;
        if (node.contains("matrix")) {
            local = QMatrix4x4(numbers(node["matrix"], {}).data()).transposed();
        } else {
            const Values t = numbers(node["translation"], {0, 0, 0}), r = numbers(node["rotation"], {0, 0, 0, 1}),
                         s = numbers(node["scale"], {1, 1, 1});
            local.translate(t[0], t[1], t[2]);
            local.rotate(quaternion(r.data()).normalized());
            local.scale(s[0], s[1], s[2]);
        }
        m_World[std::size_t(index)] = parent * local;
        if (node.contains("name"))
            pose.nodes[node["name"].toString()] = m_World[std::size_t(index)].column(3).toVector3D();
        for (const QJsonValue& child : node["children"].toArray())
            place(child.toInt(), m_World[std::size_t(index)], pose);
    }

    void addVertices(int node, ReferencePose& pose) const
    {
        const QJsonObject object = m_Nodes[node].toObject();
        const QJsonObject mesh = m_Root["meshes"].toArray()[object["mesh"].toInt()].toObject();
        const Values weights =
            m_Weights[std::size_t(node)].empty() ? numbers(mesh["weights"], {}) : m_Weights[std::size_t(node)];
        for (const QJsonValue& primitive : mesh["primitives"].toArray()) {
            Values positions = accessor(primitive["attributes"]["POSITION"]);
            const QJsonArray targets = primitive["targets"].toArray();
            for (int t = 0; t < targets.size() && t < int(weights.size()); ++t) {
                const Values deltas = accessor(targets[t].toObject()["POSITION"]);
                for (std::size_t i = 0; i < positions.size(); ++i)
                    positions[i] += weights[std::size_t(t)] * deltas[i];
            }
            const std::vector<QMatrix4x4> matrices = vertexMatrices(node, primitive.toObject(), positions.size() / 3);
            for (std::size_t i = 0; i < positions.size() / 3; ++i)
                pose.vertices.push_back(
                    matrices[i].map(QVector3D(positions[3 * i], positions[3 * i + 1], positions[3 * i + 2])));
        }
    }

    std::vector<QMatrix4x4> vertexMatrices(int node, const QJsonObject& primitive, std::size_t count) const
    {
        const QJsonObject object = m_Nodes[node].toObject();
        if (!object.contains("skin"))
            return std::vector<QMatrix4x4>(count, m_World[std::size_t(node)]);
        const QJsonObject skin = m_Root["skins"].toArray()[object["skin"].toInt()].toObject();
        const QJsonArray skinJoints = skin["joints"].toArray();
        const Values bind = accessor(skin["inverseBindMatrices"]);
        const Values joints = accessor(primitive["attributes"]["JOINTS_0"]);
        const Values weights = accessor(primitive["attributes"]["WEIGHTS_0"]);
        std::vector<QMatrix4x4> matrices;
        for (std::size_t i = 0; i < count; ++i) {
            QMatrix4x4 sum;
            sum.fill(0);
            float total = 0;
            for (std::size_t k = 4 * i; k < 4 * i + 4; ++k) {
                const int joint = int(joints[k]);
                const QMatrix4x4 inverse = QMatrix4x4(&bind[16 * std::size_t(joint)]).transposed();
                sum += weights[k] * (m_World[std::size_t(skinJoints[joint].toInt())] * inverse);
                total += weights[k];
            }
            matrices.push_back(sum / total);
        }
        return matrices;
    }

    QJsonObject m_Root;
    std::vector<QByteArray> m_Buffers;
    QJsonArray m_Nodes; ///< as they are at the time of the pose
    std::vector<Values> m_Weights;
    std::vector<QMatrix4x4> m_World;
};

} // namespace

PoseReference gltfReference(const QString& fileName)
{
    const auto gltf = std::make_shared<Gltf>(fileName);
    PoseReference reference;
    reference.fps = 19 / gltf->duration();
    for (unsigned long frame = 0; frame < 20; ++frame)
        reference.frames.push_back(frame);
    reference.poseAt = [gltf](double seconds) { return gltf->poseAt(seconds); };
    return reference;
}

} // namespace tov::test
