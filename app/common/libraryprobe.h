#pragma once

#include <QString>
#include <QStringList>

namespace tov::app {

/// Tries shared libraries that are new or have changed in processes of their own before the program loads them: what
/// crashes, hangs or ends its process on loading is kept out, and said so. What came of it is remembered in the cache
/// folder by name, size and time, so that an ordinary start only looks at the files. Thread: application.
class LibraryProbe
{
public:
    /// `program`: the checker, which loads one library and says so (see sdk/checker). Its absence means that nothing is
    /// tried.
    explicit LibraryProbe(const QString& program);

    /// Modules in `folder`, or encoder plug-ins; only notes what is there.
    void addFolder(const QString& folder, bool encoders);
    /// The base names of the product's own files: they are tried first. `only`: everything else is left out.
    void setOwn(const QStringList& names, bool only);
    /// Tries what is new, several at a time, within 4.5 seconds altogether, and puts what must not be loaded into the
    /// application object's property `tov::util::RefusedLibraries`.
    void run();

private:
    struct Candidate
    {
        QString fileName; ///< canonical
        QString key;      ///< size and time of change; of encoders also those of the coders' library
        bool encoder;
    };
    const QString m_Program;
    QStringList m_Own;
    bool m_OnlyOwn = false;
    QList<Candidate> m_Candidates;
};

/// Whether the start before came to its end. While a start is on, a file in the cache folder says so. Thread:
/// application.
class StartMarker
{
public:
    /// Looks for starts that ended in the middle, then marks this one.
    StartMarker();
    /// As `done`.
    ~StartMarker();
    StartMarker(const StartMarker&) = delete;
    StartMarker& operator=(const StartMarker&) = delete;

    /// True when an earlier start crashed.
    bool hasCrashed() const { return m_Crashed; }
    /// The start has come to its end.
    void done();
    /// As `done`, from a signal handler: being told to stop is no crash.
    static void forgive() noexcept;

private:
    bool m_Crashed = false;
};

/// Folder for what the program remembers by itself, private to the user, made when it is missing; empty when it cannot
/// be. Thread: any.
QString privateCacheFolder();

} // namespace tov::app
