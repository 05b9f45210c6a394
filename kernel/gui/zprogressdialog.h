#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <functional>
#include <memory>

namespace tov::util {

/// Shows the progress of long work. It only posts, so it can be created, updated and destroyed on any thread, under any
/// lock. The function set with `setPresenter` makes the visible dialog on the application thread; without one nothing
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

    /// `modal`: the window is blocked until the dialog closes.
    ZProgressDialog(const QString& title, bool modal);
    ZProgressDialog(const ZProgressDialog&) = delete;
    ZProgressDialog& operator=(const ZProgressDialog&) = delete;
    /// Closes the dialog.
    ~ZProgressDialog();

    /// Percent, 0 to 100.
    void setValue(int percent);

    /// Sets the function that shows progress, empty = none. It is called on the application thread with ascending
    /// values, some of which may be skipped. Thread: application.
    static void setPresenter(std::function<void(const Update&)> presenter);

private:
    struct Private;
    std::shared_ptr<Private> d;
};

} // namespace tov::util
