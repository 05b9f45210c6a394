// Prints how many seconds it takes to read a model, without any window or drawing.
//
//     bench_import MODEL

#include "scene/sceneelement.h"
#include "scene/import/sceneimport.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <memory>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: bench_import MODEL\n", stderr);
        return 2;
    }
    QElapsedTimer clock;
    clock.start();
    QString error;
    const std::unique_ptr<tov::scene::SceneElement> tree(
        tov::scene::SceneImport::readFile(QString::fromLocal8Bit(argv[1]), &error));
    if (!tree) {
        std::fprintf(stderr, "%s\n", error.toLocal8Bit().constData());
        return 1;
    }
    std::printf("%.6f\n", double(clock.nsecsElapsed()) / 1e9);
    return 0;
}
