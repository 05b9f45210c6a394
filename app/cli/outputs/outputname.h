#pragma once

#include "app/cli/options/requests.h"

#include <QStringList>

#include <vector>

namespace tov::app {

/// One result of a request: its models, its view, its file.
struct ResultPlan
{
    QStringList models;
    QString view;   ///< one of the request's views; empty = its only one
    QString output; ///< "-" = standard output
};

/// The results of a request: one per view, and with `isEach` one per model. `number` is the first value of {n}, and
/// is incremented. On failure (two results of one name, an unknown placeholder) empty, with one line in `error`.
/// Thread: any.
std::vector<ResultPlan> planResults(const QStringList& models, const QStringList& views, const OutputRequest& output,
                                    int& number, QString* error);

} // namespace tov::app
