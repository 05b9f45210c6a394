#include "scene/import/environmentfile.h"

#include "kernel/util/filestamp.h"
#include "scene/import/importprocess.h"
#include "scene/import/meshstream.h"
#include "scene/import/readers.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <mutex>
#include <new>

namespace tov::scene {

namespace {

constexpr double Pi = 3.14159265358979323846;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::scene", text);
}

/// A picture around the scene, as the importer process has decoded it.
class Panorama
{
public:
    /// Throws `ReadError` when the bytes do not match their header.
    explicit Panorama(const ImportedBytes& bytes)
    {
        stream::PanoramaHeader header{};
        if (bytes.size() >= sizeof header)
            std::memcpy(&header, bytes.data(), sizeof header);
        const std::uint64_t pixels = std::uint64_t(header.width) * header.height;
        if (pixels == 0 || pixels > stream::MaxPanoramaPixels ||
            bytes.size() != sizeof header + pixels * 3 * sizeof(float))
            throw ReadError(tr("it is damaged"));
        m_Width = int(header.width);
        m_Height = int(header.height);
        m_Pixels = bytes.data() + sizeof header;
    }
    /// The mean around a direction, over about a hundredth of the picture's height.
    Environment::Color at(const Environment::Direction& d) const
    {
        const double x = (std::atan2(double(d[0]), -double(d[2])) / (2 * Pi) + 0.5) * m_Width;
        const double y = std::acos(std::clamp(double(d[1]), -1.0, 1.0)) / Pi * m_Height;
        const int reach = std::max(0, m_Height / 128 - 1) / 2;
        double sum[3] = {};
        for (int v = -reach; v <= reach; ++v)
            for (int u = -reach; u <= reach; ++u) {
                const int row = std::clamp(int(y) + v, 0, m_Height - 1);
                const int column = ((int(x) + u) % m_Width + m_Width) % m_Width;
                const std::size_t number = std::size_t(row) * std::size_t(m_Width) + std::size_t(column);
                float pixel[3];
                std::memcpy(pixel, m_Pixels + number * sizeof pixel, sizeof pixel);
                for (std::size_t c = 0; c < 3; ++c)
                    sum[c] += std::isfinite(pixel[c]) ? double(pixel[c]) : 0.0;
            }
        const double count = double(2 * reach + 1) * double(2 * reach + 1);
        return {float(sum[0] / count), float(sum[1] / count), float(sum[2] / count)};
    }

private:
    int m_Width = 0, m_Height = 0;
    const char* m_Pixels = nullptr; ///< not owned
};

std::shared_ptr<const Environment> readFile(const QString& fileName)
{
    QFile file(fileName);
    if (!QFileInfo::exists(fileName))
        throw ReadError(tr("there is no such file"));
    if (!QFileInfo(fileName).isFile())
        throw ReadError(tr("it is not a regular file"));
    if (!file.open(QIODevice::ReadOnly))
        throw ReadError(file.errorString());
    // The process reads the file itself; the size decides how much memory and time it gets.
    const char* mapped = reinterpret_cast<const char*>(file.map(0, file.size()));
    const ReadProgress none;
    const ReadSource source{fileName, mapped, mapped ? mapped + file.size() : nullptr, none};
    const ImportedBytes bytes = runImportProcess(source, "panorama");
    const Panorama panorama(bytes);
    return std::make_shared<const Environment>([&](const Environment::Direction& d) { return panorama.at(d); });
}

} // namespace

std::shared_ptr<const Environment> readEnvironment(const QString& fileName, QString* error)
{
    static std::mutex mutex;
    static std::map<QString, std::weak_ptr<const Environment>> known;
    const QString key =
        QFileInfo(fileName).canonicalFilePath() + QLatin1Char('\n') + tov::util::FileStamp(fileName).toString();
    std::lock_guard<std::mutex> guard(mutex);
    if (auto old = known[key].lock())
        return old;
    QString reason;
    try {
        auto made = readFile(fileName);
        known[key] = made;
        return made;
    } catch (const ReadError& problem) {
        reason = QString::fromUtf8(problem.what());
    } catch (const std::bad_alloc&) {
        reason = tr("not enough memory");
    }
    if (error)
        *error = tr("cannot read '%1': %2").arg(fileName, reason);
    return nullptr;
}

} // namespace tov::scene
