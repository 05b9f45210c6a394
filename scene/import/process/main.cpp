// Reads one model, or a list of images, in a process of its own: so a damaged file that crashes a library does not
// crash the program. Opens files for reading only, and only in the model's folder; no network, no other program.
//
// usage: tov-import MODE FILE MEMORY-MB SECONDS, with the descriptors of meshstream.h
//   MODE: "auto" or "keep" (the up axis as in the file) for models; "images" for a list of images (see readers.h);
//   "unpack": only the bytes of a compressed or UTF-16 file (see unpack.h), without a stream
//   "panorama": only the pixels of an environment picture (see panorama.h), without a stream

#include "scene/import/meshstream.h"
#include "scene/import/process/panorama.h"
#include "scene/import/process/readers.h"
#include "scene/import/process/report.h"
#include "scene/import/process/sandbox.h"
#include "scene/import/process/unpack.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string>

#include <unistd.h>

namespace {

using namespace tov::importer;

std::string suffixOf(const std::filesystem::path& file)
{
    return lower(file.extension().string()).substr(file.has_extension() ? 1 : 0);
}

std::string readDescriptor(int descriptor)
{
    std::string text;
    char bytes[4096];
    for (ssize_t size; (size = read(descriptor, bytes, sizeof bytes)) > 0;)
        text.append(bytes, std::size_t(size));
    return text;
}

void import(const std::string& mode, std::filesystem::path file)
{
    ModelFolder folder(file);
    if (mode == "panorama") {
        readPanorama(file);
        return;
    }
    std::vector<std::uint8_t> unpacked;
    if (mode != "images" && isPacked(file))
        unpacked = unpackFile(file);
    if (mode == "unpack") {
        writeAll(unpacked.data(), unpacked.size());
        return;
    }
    if (suffixOf(file) == "gz")
        file.replace_extension();
    StreamWriter writer;
    ImportJob job{file, suffixOf(file), std::move(unpacked), mode == "keep", std::move(folder), writer};
    if (mode == "images")
        readImageList(job, readDescriptor(tov::scene::stream::ListDescriptor));
    else if (job.suffix == "gltf" || job.suffix == "glb")
        readGltf(job);
    else
        readWithAssimp(job);
    writer.finish();
}

/// The first line of a text, without control characters.
std::string oneLine(const char* text)
{
    std::string line(text);
    line.erase(std::min(line.find('\n'), line.size()));
    for (char& c : line)
        if (static_cast<unsigned char>(c) < ' ')
            c = ' ';
    return line;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5)
        return 2;
    if (!enterSandbox(std::strtoull(argv[3], nullptr, 10) << 20, std::strtoull(argv[4], nullptr, 10))) {
        report(tov::scene::stream::Problem, "the import process cannot be sandboxed");
        _exit(1);
    }
    try {
        import(argv[1], argv[2]);
        report(tov::scene::stream::Done);
        _exit(0);
    } catch (const std::bad_alloc&) {
        report(tov::scene::stream::NoMemory);
    } catch (const std::exception& e) {
        report(tov::scene::stream::Problem, oneLine(e.what()));
    } catch (...) {
        report(tov::scene::stream::Problem, "");
    }
    _exit(1);
}
