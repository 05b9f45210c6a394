#include "kernel/commands/commandcreators.h"

#include <algorithm>
#include <vector>

namespace tov::main {

namespace {

struct Entry
{
    const Command* prototype;
    QString name;
    Command* (*create)();
};

std::vector<Entry>& entries()
{
    static auto* instance = new std::vector<Entry>;
    return *instance;
}

} // namespace

void CommandCreators::add(const Command* prototype, const QString& name, Command* (*create)())
{
    entries().push_back({prototype, QString(name.constData(), name.size()), create});
}

void CommandCreators::remove(const Command* prototype)
{
    auto& all = entries();
    all.erase(std::remove_if(all.begin(), all.end(), [=](const Entry& entry) { return entry.prototype == prototype; }),
              all.end());
}

Command* CommandCreators::create(const QString& name)
{
    for (const Entry& entry : entries())
        if (entry.name.compare(name, Qt::CaseInsensitive) == 0)
            return entry.create();
    return nullptr;
}

} // namespace tov::main
