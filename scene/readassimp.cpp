#include "scene/readers.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <assimp/Importer.hpp>
#include <assimp/ProgressHandler.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <cmath>
#include <memory>

namespace tov::scene {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::scene", text);
}

class ProgressBridge : public Assimp::ProgressHandler
{
public:
    explicit ProgressBridge(const SceneImport::Progress& progress) : m_Progress(progress) {}
    bool Update(float share) override
    {
        cancelled = cancelled || (m_Progress && !m_Progress(int(std::clamp(share, 0.0f, 1.0f) * 99)));
        return !cancelled;
    }
    bool cancelled = false;

private:
    const SceneImport::Progress& m_Progress;
};

tov::math::Matrix4 matrixOf(const aiMatrix4x4& from)
{
    tov::math::Matrix4 to;
    for (unsigned int r = 0; r < 4; ++r)
        for (unsigned int c = 0; c < 4; ++c)
            to(r, c) = double(from[r][c]);
    return to;
}

std::uint8_t byteOf(float value)
{
    return std::uint8_t(std::lround(std::clamp(value, 0.0f, 1.0f) * 255));
}

void addMesh(SceneElement* target, const aiScene& scene, const aiMesh& mesh)
{
    Geometry geometry;
    for (unsigned int i = 0; i < mesh.mNumVertices; ++i) {
        const aiVector3D& v = mesh.mVertices[i];
        geometry.positions.insert(geometry.positions.end(), {v.x, v.y, v.z});
        if (mesh.HasNormals()) {
            const aiVector3D& n = mesh.mNormals[i];
            geometry.normals.insert(geometry.normals.end(), {n.x, n.y, n.z});
        }
        if (mesh.HasVertexColors(0)) {
            const aiColor4D& c = mesh.mColors[0][i];
            geometry.colors.insert(geometry.colors.end(), {byteOf(c.r), byteOf(c.g), byteOf(c.b), byteOf(c.a)});
        }
    }
    checkFinite(geometry.positions);
    for (float& value : geometry.normals)
        if (!std::isfinite(value)) {
            geometry.normals.clear();
            break;
        }
    if (mesh.mMaterialIndex < scene.mNumMaterials) {
        const aiMaterial& material = *scene.mMaterials[mesh.mMaterialIndex];
        aiColor4D color;
        float opacity = 1;
        if (material.Get(AI_MATKEY_BASE_COLOR, color) == AI_SUCCESS ||
            material.Get(AI_MATKEY_COLOR_DIFFUSE, color) == AI_SUCCESS)
            geometry.color = QColor(byteOf(color.r), byteOf(color.g), byteOf(color.b), byteOf(color.a));
        if (material.Get(AI_MATKEY_OPACITY, opacity) == AI_SUCCESS && opacity > 0 && opacity < 1)
            geometry.color.setAlpha(byteOf(opacity));
    }
    // Surfaces, lines and points may share one mesh; each kind becomes an element.
    for (const unsigned int corners : {3u, 2u, 1u}) {
        Geometry part;
        part.kind = Geometry::Kind(corners);
        for (unsigned int i = 0; i < mesh.mNumFaces; ++i) {
            const aiFace& face = mesh.mFaces[i];
            if (face.mNumIndices != corners)
                continue;
            for (unsigned int k = 0; k < corners; ++k) {
                if (face.mIndices[k] >= mesh.mNumVertices)
                    throw ReadError(tr("a face names a vertex that is not there"));
                part.indices.push_back(face.mIndices[k]);
            }
        }
        if (part.indices.empty())
            continue;
        part.positions = geometry.positions;
        part.normals = geometry.normals;
        part.colors = geometry.colors;
        part.color = geometry.color;
        target->addChild(new GeometryElement(QString::fromUtf8(mesh.mName.C_Str()), std::move(part)));
    }
}

} // namespace

SceneElement* readWithAssimp(const ReadSource& source)
{
    Assimp::Importer importer;
    auto* bridge = new ProgressBridge(source.progress);
    importer.SetProgressHandler(bridge);
    const unsigned int flags = aiProcess_Triangulate | aiProcess_JoinIdenticalVertices | aiProcess_GenSmoothNormals |
                               aiProcess_SortByPType | aiProcess_ValidateDataStructure;
    importer.SetPropertyFloat("PP_GSN_MAX_SMOOTHING_ANGLE", 80.0f);
    const aiScene* scene = importer.ReadFile(QFile::encodeName(source.fileName).toStdString(), flags);
    if (bridge->cancelled)
        throw ReadCancelled();
    if (!scene || !scene->mRootNode)
        throw ReadError(QString::fromUtf8(importer.GetErrorString()).simplified());

    auto root = std::make_unique<SceneElement>(QFileInfo(source.fileName).completeBaseName());
    std::vector<std::pair<const aiNode*, SceneElement*>> pending{{scene->mRootNode, root.get()}};
    root->setTransform(matrixOf(scene->mRootNode->mTransformation));
    while (!pending.empty()) {
        const auto [node, element] = pending.back();
        pending.pop_back();
        for (unsigned int i = 0; i < node->mNumMeshes; ++i)
            addMesh(element, *scene, *scene->mMeshes[node->mMeshes[i]]);
        for (unsigned int i = 0; i < node->mNumChildren; ++i) {
            const aiNode* child = node->mChildren[i];
            auto* childElement = new SceneElement(QString::fromUtf8(child->mName.C_Str()));
            childElement->setTransform(matrixOf(child->mTransformation));
            element->addChild(childElement);
            pending.emplace_back(child, childElement);
        }
    }
    return root.release();
}

} // namespace tov::scene
