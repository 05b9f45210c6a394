#include "scene/import/process/axes.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tov::importer {

namespace {

/// Formats that the library itself rotates from +Z up to +Y up, in the root node.
constexpr std::array<const char*, 4> TurnedByLibrary = {"3ds", "ase", "dxf", "ifc"};
/// Formats with +Z up that the library does not rotate.
constexpr std::array<const char*, 5> UpIsZ = {"3mf", "amf", "blend", "cob", "smd"};

template <std::size_t N>
bool contains(const std::array<const char*, N>& list, const std::string& suffix)
{
    return std::find(list.begin(), list.end(), suffix) != list.end();
}

aiMatrix4x4 upFromZ()
{
    return aiMatrix4x4(1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1);
}

/// Sets row `row` of the rotation to the axis that the settings of an FBX file specify.
bool setRow(const aiMetadata& settings, const std::string& axis, unsigned int row, aiMatrix4x4& matrix)
{
    int from = -1, sign = 1;
    if (!settings.Get(axis + "Axis", from) || from < 0 || from > 2)
        return false;
    settings.Get(axis + "AxisSign", sign);
    for (unsigned int column = 0; column < 3; ++column)
        matrix[row][column] = int(column) == from ? ai_real(sign < 0 ? -1 : 1) : ai_real(0);
    return true;
}

aiMatrix4x4 fbxAxes(const aiMetadata& settings)
{
    aiMatrix4x4 matrix;
    const bool isComplete = setRow(settings, "Coord", 0, matrix) && setRow(settings, "Up", 1, matrix) &&
                            setRow(settings, "Front", 2, matrix);
    // Settings that name an axis twice or mirror the model are wrong.
    return isComplete && std::abs(matrix.Determinant() - 1) < ai_real(0.01) ? matrix : aiMatrix4x4();
}

/// The unit of FBX files is in centimetres.
ai_real fbxMetres(const aiMetadata& settings)
{
    constexpr float MetresPerCentimetre = 0.01f;
    float unit = 1;
    if (!settings.Get("UnitScaleFactor", unit) || !std::isfinite(unit) || unit < 1e-6f || unit > 1e9f)
        unit = 1;
    return ai_real(unit * MetresPerCentimetre);
}

/// OpenGEX: +Z is up unless the file contains `Metric (key = "up") {string {"y"}}`.
bool isOpenGexUpY(const std::vector<std::uint8_t>& file)
{
    constexpr std::size_t HeaderBytes = 4096;
    const std::string text(file.begin(), file.begin() + std::ptrdiff_t(std::min(file.size(), HeaderBytes)));
    const std::size_t key = text.find("\"up\"");
    return key != std::string::npos && text.compare(std::min(text.find('"', key + 4), text.size()), 3, "\"y\"") == 0;
}

} // namespace

aiMatrix4x4 rootTransformOf(const aiScene& scene, const ImportJob& job)
{
    const bool isFbx = job.suffix == "fbx" && scene.mMetaData;
    aiMatrix4x4 axes;
    if (job.keepAxes) {
        if (contains(TurnedByLibrary, job.suffix))
            axes = upFromZ().Inverse();
    } else if (isFbx) {
        axes = fbxAxes(*scene.mMetaData);
    } else if (contains(UpIsZ, job.suffix) || (job.suffix == "ogex" && !isOpenGexUpY(job.content()))) {
        axes = upFromZ();
    }
    aiMatrix4x4 scaling;
    if (isFbx)
        aiMatrix4x4::Scaling(aiVector3D(fbxMetres(*scene.mMetaData)), scaling);
    return scaling * axes;
}

} // namespace tov::importer
