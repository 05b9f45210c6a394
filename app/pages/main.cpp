// Writes one of the texts that are made from the table of options, for the build and for tests.

#include "app/pages/pages.h"

#include <QFile>

#include <cstdio>
#include <cstring>
#include <utility>

int main(int argc, char** argv)
{
    using namespace tov::app;
    const std::pair<const char*, QString (*)()> pages[] = {{"man", manualPage},
                                                           {"bash", bashCompletion},
                                                           {"zsh", zshCompletion},
                                                           {"fish", fishCompletion},
                                                           {"tables", optionTables}};
    for (const auto& [name, make] : pages) {
        if ((argc != 2 && argc != 3) || std::strcmp(argv[1], name) != 0)
            continue;
        QFile file;
        const bool isOpen = argc == 2 ? file.open(stdout, QIODevice::WriteOnly)
                                      : (file.setFileName(QFile::decodeName(argv[2])), file.open(QIODevice::WriteOnly));
        const QByteArray text = make().toUtf8();
        if (isOpen && file.write(text) == text.size() && file.flush())
            return 0;
        std::fprintf(stderr, "option-pages: %s\n", file.errorString().toLocal8Bit().constData());
        return 1;
    }
    std::fputs("usage: option-pages man | bash | zsh | fish | tables [FILE]\n", stderr);
    return 2;
}
