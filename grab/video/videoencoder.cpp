#include "grab/video/videoencoder.h"

#include "grab/video/encoder.h"
#include "grab/video/pluginfile.h"
#include "grab/video/pluginname.h"
#include "kernel/log/logger.h"
#include "kernel/modules/informationobject.h"
#include "kernel/modules/module.h"
#include "kernel/modules/modulemanager.h"
#include "kernel/workers/overseer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>

#include <exception>

namespace tov::grab::video {

using tov::log::Logger;
using tov::main::AdditionalInformation;

namespace {

const char* const SourceFile = "video/videoencoder";
constexpr int ErrorLevel = tov::log::LevelError;

/// The module's information list. Null, logged, if the host does not know the module.
QList<AdditionalInformation>* informationList(const char* function)
{
    tov::main::Module* module = tov::main::ModuleManager::getInstance()->getModule(QStringLiteral("Grab"));
    if (!module) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr,
                    "Module 'Grab' not found by the modulemanager!");
        return nullptr;
    }
    return &module->getInformationObject()->getAdditionalInformations();
}

/// A deep copy: the characters of the original may be in the plug-in's library, which may be unloaded first.
QString deepCopy(const QString& text)
{
    return QString(text.constData(), text.size());
}

/// Calls a function of a plug-in. An exception gives one record and counts as false.
template <typename Call>
bool callPlugin(const char* function, const QString& name, Call call)
{
    try {
        return call();
    } catch (const std::exception& e) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr,
                    "The video encoder plugin '%s' threw an exception: %s", name.toLocal8Bit().constData(), e.what());
    } catch (...) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, function, nullptr,
                    "The video encoder plugin '%s' threw an exception", name.toLocal8Bit().constData());
    }
    return false;
}

} // namespace

VideoEncoder* VideoEncoder::mp_This = nullptr;

VideoEncoder* VideoEncoder::getInstance()
{
    if (!mp_This)
        mp_This = new VideoEncoder;
    return mp_This;
}

VideoEncoder::VideoEncoder() = default;

VideoEncoder::VideoEncoder(const VideoEncoder&)
{
    qFatal("Don't do this!");
}

VideoEncoder::~VideoEncoder()
{
    unloadPlugins();
}

void VideoEncoder::refreshPlugins()
{
    tov::main::Overseer::getInstance();
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/video/");
    unloadPlugins();
    QList<AdditionalInformation>* list = informationList(__func__);

    const QDir directory(path);
    for (const QFileInfo& entry : directory.entryInfoList()) {
        const QString name = entry.baseName();
        if (entry.isSymLink() || name.isEmpty() || !QLibrary::isLibrary(entry.absoluteFilePath()))
            continue;
        auto* library = new QLibrary(entry.absoluteFilePath());
        library->setLoadHints(QLibrary::ResolveAllSymbolsHint);
        const QString problem = findPluginProblem(entry);
        if (!problem.isEmpty() || !library->load()) {
            const QString reason = problem.isEmpty() ? library->errorString()
                                                     : QStringLiteral("%1: %2").arg(entry.absoluteFilePath(), problem);
            Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr,
                        "Loading of video encoder plugin: '%s' failed with error: %s", name.toLocal8Bit().constData(),
                        reason.toLocal8Bit().constData());
            delete library;
            library = nullptr;
            continue;
        }
        // A library that does not register is not listed but stays loaded, because there may be pointers to its code.
        // Its information is used all the same.
        typedef bool (*DoRegister)();
        const auto doRegister = DoRegister(library->resolve("doRegister"));
        const bool kept = doRegister && callPlugin(__func__, name, doRegister);
        if (kept)
            m_Libraries.push_back(library);
        typedef AdditionalInformation (*GetInfos)();
        const auto getInfos = GetInfos(library->resolve("getInfos"));
        if (getInfos && list)
            callPlugin(__func__, name, [&] {
                const AdditionalInformation record = getInfos();
                list->append({deepCopy(record.name), deepCopy(record.description), deepCopy(record.version),
                              deepCopy(record.author)});
                return true;
            });
        if (!kept) {
            delete library; // QLibrary does not unload on destruction
            library = nullptr;
        }
    }
}

void VideoEncoder::unloadPlugins()
{
    m_Encoders.clear();
    m_LoadableFiles.clear();
    for (QLibrary*& library : m_Libraries) {
        library->unload();
        delete library;
        library = nullptr;
    }
    m_Libraries.clear();
    if (QList<AdditionalInformation>* list = informationList(__func__))
        *list = QList<AdditionalInformation>();
}

bool VideoEncoder::registerEncoder(Encoder* (*factory)(void*), const QString& extension, const QString& description,
                                   void* userData)
{
    const QString key = deepCopy(extension.toUpper());
    if (m_Encoders.count(key)) {
        Logger::log(ErrorLevel, SourceFile, __LINE__, __func__, nullptr,
                    "You could not register the same file extension twice!");
        return false;
    }
    m_Encoders[key] = {factory, userData};
    m_LoadableFiles[key] = deepCopy(description);
    return true;
}

Encoder* VideoEncoder::getEncoder(const QString& filename)
{
    const QString suffix = QFileInfo(filename).completeSuffix().toUpper();
    const auto found = m_Encoders.find(suffix);
    if (found == m_Encoders.end() || !found->second.factory)
        return nullptr;
    Encoder* encoder = nullptr;
    const QString name = pluginNameOf(reinterpret_cast<const void*>(found->second.factory));
    callPlugin(__func__, name, [&] {
        encoder = found->second.factory(found->second.userData);
        return true;
    });
    return encoder;
}

std::map<QString, QString>& VideoEncoder::getLoadableFiles()
{
    return m_LoadableFiles;
}

} // namespace tov::grab::video
