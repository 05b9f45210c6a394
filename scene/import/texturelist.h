#pragma once

#include "scene/import/readers.h"
#include "scene/material.h"

#include <QStringList>

#include <map>
#include <memory>

namespace tov::scene {

/// Textures that a reader of the program needs. The importer process decodes them, all at once.
class TextureList
{
public:
    enum class Use
    {
        Color,             ///< as it is
        ColorWithAlpha,    ///< colour from the first file, alpha from the second
        Bump,              ///< heights or normals, becomes a normal map
        MetallicRoughness, ///< metallic from the first file, roughness from the second
    };
    /// Requests an image. `place` names the part of the file for messages: "material 'wood'". Empty file names: none.
    /// Returns a number for `image`.
    int add(Use use, const QString& first, const QString& second, const QString& place);
    /// Decodes the requested images. Throws `ReadError`, `ReadCancelled`, `std::bad_alloc`.
    void decode(const ReadSource& source, QStringList& warnings);
    /// Null when it could not be read.
    std::shared_ptr<const Image> image(int number) const;

private:
    std::map<QByteArray, int> m_Numbers; ///< by request
    QByteArray m_Lines;
    std::vector<std::shared_ptr<const Image>> m_Images;
};

} // namespace tov::scene
