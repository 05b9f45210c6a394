// Load tests: long and large recordings and pictures in one process. Prints one line per limit, with the measured
// value, and the number of limits that were kept.
//
//     soak PART        (scripts/soak lists the parts and builds this program)

#include "app/common/startup.h"
#include "benchmarks/soak/parts.h"
#include "benchmarks/soak/support.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include <malloc.h>
#include <sys/mount.h>

int main(int argc, char** argv)
{
    using namespace tov::soak;
    const struct
    {
        const char* name;
        void (*run)(const QString& folder, const QString& temporary);
    } parts[] = {{"slow", recordWithSlowEncoder}, {"space", fillDisks},     {"locks", measureLocks},
                 {"window", measureWindow},       {"panels", recordPanels}, {"picture", drawLargePicture},
                 {"models", readLargeModels},     {"rounds", repeatJobs},   {"long", recordLong}};
    const auto* part = std::find_if(std::begin(parts), std::end(parts), [&](const auto& each) {
        return argc == 2 && std::strcmp(argv[1], each.name) == 0;
    });
    if (part == std::end(parts)) {
        std::fputs("usage: soak slow|space|locks|window|panels|picture|models|rounds|long\n", stderr);
        return 2;
    }
    // Threads get one of the allocator's arenas at random, and unused megabytes in them hide a small growth.
    if (part->run == repeatJobs || part->run == recordLong)
        mallopt(M_ARENA_MAX, 1);
    tov::app::prepareProcess();
    QTemporaryDir folder, temporary;
    qputenv("TMPDIR", QFile::encodeName(temporary.path()));
    if (part->run == fillDisks && !mountSmallDisk(temporary.path()))
        return 1;
    // If it is not set, Qt creates a folder among the temporary files.
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(folder.path()));
    {
        tov::app::StartOptions options;
        options.window = part->run == measureWindow;
        options.settingsFile = folder.filePath(QStringLiteral("settings.ini"));
        int count = 1;
        tov::app::Startup startup(count, argv, options);
        setScene(largeElement(20000, false));
        part->run(folder.path(), temporary.path());
    }
    if (part->run == fillDisks)
        umount2(QFile::encodeName(temporary.path()).constData(), MNT_DETACH);
    return summarise(part->name) ? 0 : 1;
}
