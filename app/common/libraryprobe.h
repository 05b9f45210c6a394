#pragma once

#include "kernel/util/cache.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <vector>

namespace tov::app {

/// Loads new and changed modules and encoder plug-ins in processes of their own before the program loads them, so
/// that a library that crashes, hangs or ends its process on loading does not affect the program. Libraries are
/// refused without being run if somebody could have written them who could not have replaced the program. Results
/// are kept in the cache folder for as long as the files do not change, so an ordinary start only compares file
/// stamps. Thread: application.
class LibraryProbe
{
public:
    /// `checker`: the program that loads one library and reports (see sdk/checker); without it nothing is tried.
    /// `own`: file names of the libraries that came with the program. They are tried first, and never refused because a
    /// trial ran out of time.
    LibraryProbe(const QString& checker, const QStringList& own);

    /// Adds the modules in `folder`.
    void addModules(const QString& folder);
    /// Adds the encoder plug-ins in `folder`. Symbolic links are skipped: they are never loaded.
    void addEncoders(const QString& folder);
    /// Refuses everything that did not come with the program.
    void refuseForeign() { m_OnlyOwn = true; }
    /// Tries new libraries, several at a time and for 4.5 seconds at most, and sets the application object's property
    /// `tov::util::RefusedLibraries`.
    void run();

private:
    struct Candidate
    {
        QString fileName; ///< canonical
        bool encoder;
        bool own;
    };
    struct Trial;
    class Trials;

    void add(const QString& folder, bool encoders);
    std::vector<Candidate> findNew(const tov::util::CacheEntries& before);

    const QString m_Checker;
    const QStringList m_Own;
    bool m_OnlyOwn = false;
    std::vector<Candidate> m_Candidates;
    QVariantMap m_Refused;             ///< canonical file name to reason
    tov::util::CacheEntries m_Results; ///< by canonical file name
};

} // namespace tov::app
