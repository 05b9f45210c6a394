#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <list>
#include <map>

class QLibrary;

namespace tov::grab::video {

class Encoder;

/// The registry of video encoder plug-ins: the shared libraries in the application's folder "/plugins/video/", each of
/// which registers encoders by file extension from its exported function `bool doRegister()` and may describe itself by
/// `getInfos`. No lock is taken: everything runs on the application thread.
class TOV_EXPORT VideoEncoder
{
public:
    /// The one instance, made at first use. The module deletes it. Thread: application.
    static VideoEncoder* getInstance();
    VideoEncoder();
    /// Must not be used: ends the process with a fatal message.
    VideoEncoder(const VideoEncoder& other);
    VideoEncoder& operator=(const VideoEncoder& other) = delete;
    /// Unloads the plug-ins. Leaves the instance pointer as it is: whoever deletes the instance calls `forgetInstance`.
    ~VideoEncoder();
    /// Clears the instance pointer, together with the deletion of the instance. Thread: application.
    static void forgetInstance();

    /// Unloads everything and loads what is in the plug-in folder now. Failures are logged. Encoders must have been
    /// deleted before. Thread: application.
    void refreshPlugins();
    /// Forgets every encoder, unloads every registered library and empties the module's information list.
    /// Thread: application.
    void unloadPlugins();

    /// Called by plug-ins: encoders for files with that extension (without the leading dot, any case; "tar.gz" matches
    /// only names with both) come from `factory(userData)`, which returns a new encoder that the caller owns. False,
    /// logged, when the extension is taken. Thread: application.
    bool registerEncoder(Encoder* (*factory)(void*), const QString& extension, const QString& description,
                         void* userData);

    /// A new encoder for a file name, by its complete suffix (everything after the first dot); null when there is none.
    /// The caller owns it. Thread: application.
    Encoder* getEncoder(const QString& filename);

    /// Extensions in upper case with the description of their format. Thread: application.
    std::map<QString, QString>& getLoadableFiles();

private:
    struct Infos
    {
        Encoder* (*factory)(void*);
        void* userData;
    };

    static VideoEncoder* mp_This;
    std::list<QLibrary*> m_Libraries;           ///< owned; those whose registration succeeded, in load order
    std::map<QString, Infos> m_Encoders;        ///< by upper-case extension
    std::map<QString, QString> m_LoadableFiles; ///< the same keys
};

} // namespace tov::grab::video
