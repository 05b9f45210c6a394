#pragma once

#include "scene/import/texturelist.h"

#include <QByteArray>
#include <QString>

#include <map>
#include <memory>

namespace tov::scene {

/// The materials of Wavefront MTL files, converted to metallic-roughness.
class ObjMaterials
{
public:
    /// Reads a library; the last definition of a name is used.
    void read(const QByteArray& library);
    /// Whether a material of that name was read.
    bool contains(const QString& name) const { return m_Materials.count(name) > 0; }
    /// Marks a material as used; only used ones are converted.
    void use(const QString& name);
    /// Decodes the textures of the materials that are used.
    void convert(const ReadSource& source, QStringList& warnings);
    /// Null for unknown materials. Call it after `convert`.
    std::shared_ptr<const Material> material(const QString& name) const;

private:
    /// A statement map_...: the file and how it is mapped.
    struct Map
    {
        QString file;
        std::array<float, 2> scale = {1, 1};
        std::array<float, 2> offset = {0, 0};
        float factor = 1; ///< -bm
        bool clamp = false;
    };
    struct Definition
    {
        Material material;
        std::map<QByteArray, Map> maps; ///< by statement, lower case
        std::array<float, 3> specular = {0, 0, 0};
        float exponent = 0;
        bool hasRoughness = false;
        bool isUsed = false;
        std::map<QByteArray, int> images; ///< numbers in the texture list, by use
        std::shared_ptr<const Material> converted;
    };

    static void readStatement(const QByteArray& keyword, const QByteArray& rest, Definition& definition);
    static Map readMap(const QByteArray& rest);
    static void request(const QString& name, Definition& definition, TextureList& textures);
    static void finish(Definition& definition, const TextureList& textures);
    static Texture texture(const Definition& definition, const QByteArray& use, const QByteArray& statement,
                           const TextureList& textures);

    std::map<QString, Definition> m_Materials;
};

} // namespace tov::scene
