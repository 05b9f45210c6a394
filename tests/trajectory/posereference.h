#pragma once

#include <QMatrix4x4>
#include <QString>
#include <QVector3D>

#include <functional>
#include <map>
#include <vector>

namespace tov::test {

/// Where the parts of a model are at one time, in scene units with +Y up.
struct ReferencePose
{
    std::map<QString, QVector3D> nodes; ///< by name; nodes without a name are left out
    std::vector<QVector3D> joints;      ///< of the file's first skin, in the file's order
    std::vector<QVector3D> vertices;    ///< in any order; empty: not compared
};

/// An independent evaluation of an animation, computed from the numbers in the file without the importer, the scene or
/// the animation classes.
struct PoseReference
{
    double fps = 1; ///< the rate at which frames fall on the times to compare
    std::vector<unsigned long> frames;
    std::function<ReferencePose(double seconds)> poseAt;
};

/// glTF 2.0: the first animation of a file whose buffers are next to it or embedded.
PoseReference gltfReference(const QString& fileName);
/// Biovision hierarchy: the joints, at the frames of the file.
PoseReference bvhReference(const QString& fileName);
/// Text form of the X format: the frames that the first set moves, at its keys.
PoseReference xReference(const QString& fileName, double ticksPerSecond);
/// 3D Studio: the vertices of a file with one object that only turns, at its keys.
PoseReference turningObject3dsReference(const QString& fileName);
/// Collada: a box with one joint under an animated armature, at its keys.
PoseReference colladaArmatureReference(const QString& fileName);

} // namespace tov::test
