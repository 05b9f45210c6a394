// Images for the readers of the program, which names the files; this process decodes them.

#include "scene/import/process/imagetools.h"
#include "scene/import/process/readers.h"

#include <sstream>

namespace tov::importer {

namespace {

std::vector<std::string> fieldsOf(const std::string& line)
{
    std::vector<std::string> fields;
    std::size_t begin = 0;
    for (std::size_t end = line.find('\t'); end != std::string::npos; end = line.find('\t', begin)) {
        fields.push_back(line.substr(begin, end - begin));
        begin = end + 1;
    }
    fields.push_back(line.substr(begin));
    return fields;
}

/// `fields`: use, first file, second file (may be empty), place.
DecodedImage composed(ImageStore& images, const std::vector<std::string>& fields)
{
    const std::string& use = fields[0];
    const auto get = [&](std::size_t i) {
        return fields[i].empty() ? DecodedImage() : images.decodeFile(fields[i], fields[3]);
    };
    DecodedImage first = get(1), second = get(2);
    if (use == "alpha" && second.pixels) {
        if (!first.pixels)
            first = whitePixel();
        setAlpha(first, second);
    } else if (use == "bump" && first.pixels && !looksLikeNormalMap(first)) {
        return normalsFromHeights(first);
    } else if (use == "metal" && (first.pixels || second.pixels)) {
        return metallicRoughness(first.pixels ? &first : nullptr, second.pixels ? &second : nullptr);
    }
    return first;
}

} // namespace

void readImageList(ImportJob& job, const std::string& list)
{
    ImageStore images(job.writer, job.folder);
    std::istringstream lines(list);
    for (std::string line; std::getline(lines, line);) {
        const auto fields = fieldsOf(line);
        if (fields.size() != 4)
            throw std::runtime_error("a wrong list of images");
        DecodedImage image = composed(images, fields);
        if (image.pixels)
            images.addDecoded(fields[1].empty() ? fields[2] : fields[1], std::move(image));
        else
            job.writer.addImage(fields[1], 0, 0, nullptr);
    }
}

} // namespace tov::importer
