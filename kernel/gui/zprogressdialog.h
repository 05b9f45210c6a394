#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <functional>
#include <memory>

namespace tov::util {

/// Shows the progress of long work. May be made, driven and destroyed on any thread, under any lock: it only posts.
/// What the person sees is made on the application thread by the function set with `setPresenter`; without one nothing
/// is shown.
class TOV_EXPORT ZProgressDialog
{
public:
    /// What a presenter receives. Percent -1 = started; finished = true comes exactly once, at the end.
    struct Update
    {
        quint64 id;
        QString title;
        int percent;
        bool finished;
    };

    /// `modal`: whether the window is blocked meanwhile.
    ZProgressDialog(const QString& title, bool modal);
    ZProgressDialog(const ZProgressDialog&) = delete;
    ZProgressDialog& operator=(const ZProgressDialog&) = delete;
    /// Closes it.
    ~ZProgressDialog();

    /// Percent, 0 to 100.
    void setValue(int percent);

    /// Who shows progress; called on the application thread, values in order, in-between ones may be left out. Empty =
    /// nobody. Thread: application.
    static void setPresenter(std::function<void(const Update&)> presenter);

private:
    struct Private;
    std::shared_ptr<Private> d;
};

} // namespace tov::util
