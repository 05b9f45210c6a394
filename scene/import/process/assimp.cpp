// Reads models with the import library (Assimp).

#include "scene/import/process/assimpscene.h"
#include "scene/import/process/axes.h"
#include "scene/import/process/readers.h"
#include "scene/import/process/report.h"

#include <assimp/DefaultIOSystem.h>
#include <assimp/Importer.hpp>
#include <assimp/MemoryIOWrapper.h>
#include <assimp/ProgressHandler.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <cstring>
#include <exception>
#include <stdexcept>

namespace tov::importer {

namespace {

class Progress : public Assimp::ProgressHandler
{
public:
    bool Update(float share) override
    {
        reportProgress(double(share));
        return true;
    }
};

/// Read access to the files of the model's folder; an unpacked model is read from memory.
class FolderAccess : public Assimp::DefaultIOSystem
{
public:
    explicit FolderAccess(const ImportJob& job) : m_Job(job), m_Folder(job.folder) {}
    bool Exists(const char* file) const override
    {
        return isUnpacked(file) || (m_Folder.isInside(file) && DefaultIOSystem::Exists(file));
    }
    Assimp::IOStream* Open(const char* file, const char* mode) override
    {
        const bool reads = mode[0] == 'r' && !std::strchr(mode, '+');
        if (reads && isUnpacked(file))
            return new Assimp::MemoryIOStream(m_Job.unpacked.data(), m_Job.unpacked.size());
        return reads && m_Folder.isInside(file) ? DefaultIOSystem::Open(file, mode) : nullptr;
    }
    bool CreateDirectory(const std::string&) override { return false; }
    bool ChangeDirectory(const std::string&) override { return false; }
    bool DeleteFile(const std::string&) override { return false; }

private:
    bool isUnpacked(const char* file) const { return !m_Job.unpacked.empty() && m_Job.file == file; }

    const ImportJob& m_Job;
    const ModelFolder& m_Folder;
};

} // namespace

void readWithAssimp(ImportJob& job)
{
    Assimp::Importer importer;
    importer.SetProgressHandler(new Progress);
    importer.SetIOHandler(new FolderAccess(job));
    // Shapes that the library generates for skeletons, cameras and lights are not part of the model. A motion capture
    // file contains only a skeleton.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, job.suffix != "bvh");
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_IGNORE_UP_DIRECTION, job.keepAxes);
    constexpr unsigned int Flags = aiProcess_Triangulate | aiProcess_JoinIdenticalVertices | aiProcess_SortByPType |
                                   aiProcess_GenUVCoords | aiProcess_ValidateDataStructure;
    const aiScene* scene = importer.ReadFile(job.file.string(), Flags);
    if (!scene || !scene->mRootNode) {
        // A lack of memory is passed on unchanged.
        if (importer.GetException())
            std::rethrow_exception(importer.GetException());
        throw std::runtime_error(importer.GetErrorString());
    }
    AssimpScene(*scene, job).write(rootTransformOf(*scene, job));
}

} // namespace tov::importer
