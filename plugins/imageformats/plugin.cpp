#include "plugins/imageformats/pngwriter.h"

#include <QImageIOHandler>
#include <QImageIOPlugin>
#include <QVariant>

namespace {

using tov::imageformats::PngOptions;

/// Writes only; Qt's own handler reads.
class PngHandler : public QImageIOHandler
{
public:
    bool canRead() const override { return false; }
    bool read(QImage*) override { return false; }
    bool write(const QImage& image) override { return tov::imageformats::writePng(device(), image, m_Options); }
    bool supportsOption(ImageOption option) const override
    {
        return option == Quality || option == CompressionRatio || option == Description || option == Gamma;
    }
    void setOption(ImageOption option, const QVariant& value) override
    {
        // As in Qt's own writer: quality 100 = fastest, 0 = smallest; the ratio is the zlib level.
        if (option == Quality && value.toInt() >= 0 && !m_LevelGiven)
            m_Options.level = (100 - qMin(value.toInt(), 100)) * 9 / 91;
        else if (option == CompressionRatio && value.toInt() >= 0) {
            m_Options.level = qMin(value.toInt(), 9);
            m_LevelGiven = true;
        } else if (option == Description)
            m_Options.description = value.toString();
        else if (option == Gamma)
            m_Options.gamma = value.toDouble();
    }

private:
    PngOptions m_Options;
    bool m_LevelGiven = false;
};

} // namespace

class PngPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.qt-project.Qt.QImageIOHandlerFactoryInterface" FILE "tovpng.json")
public:
    Capabilities capabilities(QIODevice* device, const QByteArray& format) const override
    {
        return format == "png" && (!device || device->isWritable()) ? CanWrite : Capabilities();
    }
    QImageIOHandler* create(QIODevice* device, const QByteArray& format) const override
    {
        auto* handler = new PngHandler;
        handler->setDevice(device);
        handler->setFormat(format);
        return handler;
    }
};

#include "plugin.moc"
