#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <list>
#include <map>

class QLibrary;

namespace tov::grab {
class ModuleGrab;
}

namespace tov::grab::video {

class Encoder;

/// The registry of video encoder plug-ins: the shared libraries in the application's directory "/plugins/video/". Each
/// of them registers encoders by file extension in its exported function `bool doRegister()`, and may describe itself
/// in `getInfos`. There is no lock: all methods are called on the application thread.
class TOV_EXPORT VideoEncoder
{
public:
    /// The single instance, created on first use. The module deletes it. Thread: application.
    static VideoEncoder* getInstance();
    VideoEncoder();
    /// Must not be used: ends the process with a fatal message.
    VideoEncoder(const VideoEncoder& other);
    VideoEncoder& operator=(const VideoEncoder& other) = delete;
    /// Unloads the plug-ins. Does not clear the instance pointer; the module does. Thread: application.
    ~VideoEncoder();

    /// Unloads all plug-ins and loads those that are in the directory now. Failures are logged. Delete all encoders
    /// first. Thread: application.
    void refreshPlugins();
    /// Forgets all encoders, unloads all registered libraries and clears the module's information list. Delete all
    /// encoders first. Thread: application.
    void unloadPlugins();

    /// Called by plug-ins. `factory(userData)` returns a new encoder, owned by its caller, for files with that
    /// extension (without the leading dot, in any case; "tar.gz" matches only names that end with both). False, logged,
    /// if the extension is registered already. Thread: application.
    bool registerEncoder(Encoder* (*factory)(void*), const QString& extension, const QString& description,
                         void* userData);

    /// A new encoder for the complete suffix of a file name (everything after the first dot), null if there is none.
    /// The caller owns it. Thread: application.
    Encoder* getEncoder(const QString& filename);

    /// The registered extensions, in upper case, with the descriptions of their formats. Thread: application.
    std::map<QString, QString>& getLoadableFiles();

private:
    struct Infos
    {
        Encoder* (*factory)(void*);
        void* userData;
    };

    friend class tov::grab::ModuleGrab; ///< deletes the instance and clears `mp_This`

    static VideoEncoder* mp_This;
    std::list<QLibrary*> m_Libraries;           ///< owned; libraries that have registered, in load order
    std::map<QString, Infos> m_Encoders;        ///< by upper-case extension
    std::map<QString, QString> m_LoadableFiles; ///< the same keys
};

} // namespace tov::grab::video
