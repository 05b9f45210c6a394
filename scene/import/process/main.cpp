// Reads one model with the import library, in a process of its own: what a damaged file does to that library, it does
// not do to the program. Opens files for reading only, and only in the model's folder; no network, no other program.
//
// usage: tov-import FILE MEMORY-MB SECONDS, with the descriptors of meshstream.h

#include "scene/import/meshstream.h"

#include <assimp/DefaultIOSystem.h>
#include <assimp/Importer.hpp>
#include <assimp/ProgressHandler.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <initializer_list>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace tov::scene::stream;

void report(std::uint8_t code, const std::string& text = std::string())
{
    const std::string bytes = std::string(1, char(code)) + text;
    // A program that is gone is not told.
    [[maybe_unused]] const auto written = write(ReportDescriptor, bytes.data(), bytes.size());
}

class Progress : public Assimp::ProgressHandler
{
public:
    bool Update(float share) override
    {
        const int percent = std::isfinite(share) ? int(std::clamp(share, 0.0f, 1.0f) * 99) : 0;
        if (percent > m_Last) {
            m_Last = percent;
            report(std::uint8_t(percent));
        }
        return true;
    }

private:
    int m_Last = -1;
};

/// Files of the model's folder, links resolved, for reading.
class Folder : public Assimp::DefaultIOSystem
{
public:
    explicit Folder(const fs::path& model) : m_Folder(fs::canonical(model).parent_path()) {}
    bool Exists(const char* file) const override { return isInside(file) && DefaultIOSystem::Exists(file); }
    Assimp::IOStream* Open(const char* file, const char* mode) override
    {
        const bool reads = mode[0] == 'r' && !std::strchr(mode, '+');
        return reads && isInside(file) ? DefaultIOSystem::Open(file, mode) : nullptr;
    }
    bool CreateDirectory(const std::string&) override { return false; }
    bool ChangeDirectory(const std::string&) override { return false; }
    bool DeleteFile(const std::string&) override { return false; }

private:
    bool isInside(const char* file) const
    {
        std::error_code error;
        const fs::path whole = fs::canonical(file, error);
        if (error || !fs::is_regular_file(whole, error))
            return false;
        const auto [end, unused] = std::mismatch(m_Folder.begin(), m_Folder.end(), whole.begin(), whole.end());
        return end == m_Folder.end();
    }
    const fs::path m_Folder;
};

/// The output; every write is checked.
class Output
{
public:
    Output() : m_File(fdopen(MeshDescriptor, "wb"))
    {
        if (!m_File)
            throw std::runtime_error("the shared memory cannot be written");
    }
    void put(const void* data, std::size_t size)
    {
        if (size > 0 && std::fwrite(data, 1, size, m_File) != size)
            throw std::bad_alloc();
    }
    template <typename T>
    void put(const std::vector<T>& values)
    {
        put(values.data(), values.size() * sizeof(T));
    }
    void begin(const Header& header)
    {
        if (std::fflush(m_File) != 0 || std::fseek(m_File, 0, SEEK_SET) != 0)
            throw std::bad_alloc();
        put(&header, sizeof header);
        if (std::fflush(m_File) != 0)
            throw std::bad_alloc();
    }

private:
    std::FILE* m_File;
};

std::uint8_t byteOf(float value)
{
    return std::uint8_t(std::lround(std::clamp(std::isfinite(value) ? value : 0.0f, 0.0f, 1.0f) * 255));
}

std::uint32_t putMesh(Output& output, const aiScene& scene, const aiMesh& mesh, std::uint32_t node)
{
    std::vector<float> positions, normals;
    std::vector<std::uint8_t> colors;
    for (unsigned int i = 0; i < mesh.mNumVertices; ++i) {
        const aiVector3D& v = mesh.mVertices[i];
        positions.insert(positions.end(), {v.x, v.y, v.z});
        if (mesh.HasNormals()) {
            const aiVector3D& n = mesh.mNormals[i];
            normals.insert(normals.end(), {n.x, n.y, n.z});
        }
        if (mesh.HasVertexColors(0)) {
            const aiColor4D& c = mesh.mColors[0][i];
            colors.insert(colors.end(), {byteOf(c.r), byteOf(c.g), byteOf(c.b), byteOf(c.a)});
        }
    }
    PartRecord record{};
    if (mesh.mMaterialIndex < scene.mNumMaterials) {
        const aiMaterial& material = *scene.mMaterials[mesh.mMaterialIndex];
        aiColor4D color;
        float opacity = 1;
        if (material.Get(AI_MATKEY_BASE_COLOR, color) == AI_SUCCESS ||
            material.Get(AI_MATKEY_COLOR_DIFFUSE, color) == AI_SUCCESS) {
            record.hasColor = 1;
            const std::uint8_t bytes[4] = {byteOf(color.r), byteOf(color.g), byteOf(color.b), byteOf(color.a)};
            std::memcpy(record.color, bytes, sizeof bytes);
        }
        if (material.Get(AI_MATKEY_OPACITY, opacity) == AI_SUCCESS && opacity > 0 && opacity < 1) {
            if (!record.hasColor) {
                record.hasColor = 1;
                const std::uint8_t plain[3] = {200, 200, 205};
                std::memcpy(record.color, plain, sizeof plain);
            }
            record.color[3] = byteOf(opacity);
        }
    }
    // Surfaces, lines and points may share one mesh; each kind becomes an element.
    std::uint32_t parts = 0;
    for (const unsigned int corners : {3u, 2u, 1u}) {
        std::vector<std::uint32_t> indices;
        for (unsigned int i = 0; i < mesh.mNumFaces; ++i)
            if (mesh.mFaces[i].mNumIndices == corners)
                indices.insert(indices.end(), mesh.mFaces[i].mIndices, mesh.mFaces[i].mIndices + corners);
        if (indices.empty())
            continue;
        record.vertices = positions.size() / 3;
        record.indices = indices.size();
        record.node = node;
        record.nameLength = mesh.mName.length;
        record.kind = corners;
        record.hasNormals = !normals.empty();
        record.hasColors = !colors.empty();
        output.put(&record, sizeof record);
        output.put(mesh.mName.C_Str(), mesh.mName.length);
        output.put(positions);
        output.put(normals);
        output.put(colors);
        output.put(indices);
        ++parts;
    }
    return parts;
}

void convert(const std::string& file)
{
    Assimp::Importer importer;
    importer.SetProgressHandler(new Progress);
    importer.SetIOHandler(new Folder(file));
    const unsigned int flags = aiProcess_Triangulate | aiProcess_JoinIdenticalVertices | aiProcess_GenSmoothNormals |
                               aiProcess_SortByPType | aiProcess_ValidateDataStructure;
    importer.SetPropertyFloat("PP_GSN_MAX_SMOOTHING_ANGLE", 80.0f);
    const aiScene* scene = importer.ReadFile(file, flags);
    if (!scene || !scene->mRootNode) {
        // A lack of memory is one, not a text.
        if (importer.GetException())
            std::rethrow_exception(importer.GetException());
        throw std::runtime_error(importer.GetErrorString());
    }

    Output output;
    Header header{};
    std::memcpy(header.magic, Magic, sizeof Magic);
    output.begin(Header{}); // the real one comes when everything is there
    std::vector<std::pair<const aiNode*, std::uint32_t>> nodes{{scene->mRootNode, NoParent}};
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const auto [node, parent] = nodes[i];
        NodeRecord record{};
        for (unsigned int r = 0; r < 4; ++r)
            for (unsigned int c = 0; c < 4; ++c)
                record.transform[4 * r + c] = double(node->mTransformation[r][c]);
        record.parent = parent;
        record.nameLength = node->mName.length;
        output.put(&record, sizeof record);
        output.put(node->mName.C_Str(), node->mName.length);
        for (unsigned int k = 0; k < node->mNumChildren; ++k)
            nodes.emplace_back(node->mChildren[k], std::uint32_t(i));
    }
    header.nodes = std::uint32_t(nodes.size());
    for (std::uint32_t i = 0; i < header.nodes; ++i)
        for (unsigned int k = 0; k < nodes[i].first->mNumMeshes; ++k)
            header.parts += putMesh(output, *scene, *scene->mMeshes[nodes[i].first->mMeshes[k]], i);
    output.begin(header);
}

/// Whatever the library is made to do by a file: nothing is written, started, or sent. What reading takes is allowed,
/// everything else is refused.
bool lockIn()
{
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
    if (!filter)
        return false;
    int result = 0;
    const auto allow = [&](int call, std::initializer_list<scmp_arg_cmp> when = {}) {
        // A call that this machine does not have needs no rule.
        const int added = seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, call, unsigned(when.size()), when.begin());
        if (added != 0 && added != -EDOM)
            result = added;
    };
    for (const int call :
         {// files that are open, and what is known of others
          SCMP_SYS(read), SCMP_SYS(readv), SCMP_SYS(pread64), SCMP_SYS(write), SCMP_SYS(writev), SCMP_SYS(pwrite64),
          SCMP_SYS(lseek), SCMP_SYS(close), SCMP_SYS(fstat), SCMP_SYS(stat), SCMP_SYS(lstat), SCMP_SYS(newfstatat),
          SCMP_SYS(statx), SCMP_SYS(access), SCMP_SYS(faccessat), SCMP_SYS(faccessat2), SCMP_SYS(readlink),
          SCMP_SYS(readlinkat), SCMP_SYS(getdents64), SCMP_SYS(getcwd),
          // memory
          SCMP_SYS(brk), SCMP_SYS(mmap), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(mprotect), SCMP_SYS(madvise),
          // the process itself
          SCMP_SYS(futex), SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn),
          SCMP_SYS(sigaltstack), SCMP_SYS(restart_syscall), SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(getppid),
          SCMP_SYS(getuid), SCMP_SYS(geteuid), SCMP_SYS(getgid), SCMP_SYS(getegid), SCMP_SYS(getrlimit),
          SCMP_SYS(getrusage), SCMP_SYS(getrandom), SCMP_SYS(sched_yield), SCMP_SYS(sched_getaffinity),
          SCMP_SYS(sysinfo), SCMP_SYS(uname), SCMP_SYS(exit), SCMP_SYS(exit_group),
          // time
          SCMP_SYS(clock_gettime), SCMP_SYS(clock_getres), SCMP_SYS(clock_nanosleep), SCMP_SYS(nanosleep),
          SCMP_SYS(gettimeofday), SCMP_SYS(time), SCMP_SYS(times)})
        allow(call);
    // Neither written, nor made or emptied while it is opened for reading.
    const scmp_datum_t changing = O_ACCMODE | O_CREAT | O_TRUNC;
    allow(SCMP_SYS(open), {SCMP_A1(SCMP_CMP_MASKED_EQ, changing, O_RDONLY)});
    allow(SCMP_SYS(openat), {SCMP_A2(SCMP_CMP_MASKED_EQ, changing, O_RDONLY)});
    for (const scmp_datum_t command : {F_GETFL, F_GETFD, F_SETFD})
        allow(SCMP_SYS(fcntl), {SCMP_A1(SCMP_CMP_EQ, command)});
    // Limits are asked for, not set; `abort` ends this process.
    allow(SCMP_SYS(prlimit64), {SCMP_A2(SCMP_CMP_EQ, 0)});
    allow(SCMP_SYS(tgkill), {SCMP_A0(SCMP_CMP_EQ, scmp_datum_t(getpid()))});
    if (result == 0)
        result = seccomp_load(filter);
    seccomp_release(filter);
    return result == 0;
}

bool limit(int what, rlim_t most)
{
    const rlimit value{most, most};
    return setrlimit(decltype(RLIMIT_CORE)(what), &value) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
        return 2;
    // Nobody waits for it once the program is gone.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
    const rlim_t memory = rlim_t(std::strtoull(argv[2], nullptr, 10)) << 20;
    const rlim_t seconds = rlim_t(std::strtoull(argv[3], nullptr, 10));
    bool locked = limit(RLIMIT_CORE, 0) && limit(RLIMIT_CPU, seconds) && limit(RLIMIT_NOFILE, 64) &&
                  limit(RLIMIT_FSIZE, memory); // the shared memory, too
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // Sanitizers ask for terabytes of addresses.
    locked = locked && limit(RLIMIT_AS, memory) && lockIn();
#else
    static_cast<void>(memory);
    static_cast<void>(lockIn);
#endif
    if (!locked) {
        report(Problem, "the import process cannot be locked in");
        _exit(1);
    }
    try {
        convert(argv[1]);
        report(Done);
        _exit(0);
    } catch (const std::bad_alloc&) {
        report(NoMemory);
    } catch (const std::exception& e) {
        report(Problem, e.what());
    } catch (...) {
        report(Problem, "");
    }
    _exit(1);
}
