#include "kernel/gui/zprogressdialog.h"

#include "kernel/workers/overseer.h"

#include <atomic>

namespace tov::util {

namespace {

std::atomic<quint64> nextId{1};

/// Used on the application thread only.
std::function<void(const ZProgressDialog::Update&)>& presenter()
{
    static auto* instance = new std::function<void(const ZProgressDialog::Update&)>;
    return *instance;
}

} // namespace

struct ZProgressDialog::Private
{
    quint64 id;
    QString title;
    std::atomic<int> percent{-1};
    std::atomic<bool> posted{false};

    static void present(const Update& update)
    {
        if (presenter())
            presenter()(update);
    }
};

ZProgressDialog::ZProgressDialog(const QString& title, bool) : d(new Private)
{
    d->id = nextId++;
    d->title = title;
    tov::main::Overseer::getInstance()->post([state = d] { Private::present({state->id, state->title, -1, false}); });
}

ZProgressDialog::~ZProgressDialog()
{
    tov::main::Overseer::getInstance()->post([state = d] {
        Private::present({state->id, state->title, state->percent, true});
    });
}

void ZProgressDialog::setValue(int percent)
{
    if (d->percent.exchange(percent) == percent || d->posted.exchange(true))
        return;
    tov::main::Overseer::getInstance()->post([state = d] {
        state->posted = false;
        Private::present({state->id, state->title, state->percent, false});
    });
}

void ZProgressDialog::setPresenter(std::function<void(const Update&)> function)
{
    presenter() = std::move(function);
}

} // namespace tov::util
