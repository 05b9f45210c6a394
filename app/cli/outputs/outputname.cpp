#include "app/cli/outputs/outputname.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

namespace tov::app {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

/// Replaces the placeholders of a pattern; braces in values are not replaced. Empty for an unknown one.
QString expanded(const QString& pattern, const QString& name, const QString& view, int number, QString* error)
{
    static const QRegularExpression placeholder(QStringLiteral("\\{([a-z]+)\\}"));
    QString text;
    int end = 0;
    for (auto matches = placeholder.globalMatch(pattern); matches.hasNext();) {
        const auto match = matches.next();
        text += pattern.mid(end, match.capturedStart() - end);
        end = match.capturedEnd();
        const QString key = match.captured(1);
        if (key == QLatin1String("name")) {
            text += name;
        } else if (key == QLatin1String("view")) {
            text += view;
        } else if (key == QLatin1String("n")) {
            text += QString::number(number);
        } else {
            *error = tr("-o: unknown placeholder {%1}; known: {name}, {view} and {n}").arg(key);
            return QString();
        }
    }
    return text + pattern.mid(end);
}

} // namespace

std::vector<ResultPlan> planResults(const QStringList& models, const QStringList& views, const OutputRequest& output,
                                    int& number, QString* error)
{
    std::vector<QStringList> groups;
    if (output.isEach)
        for (const QString& model : models)
            groups.push_back(QStringList(model));
    else
        groups.push_back(models);
    const QStringList names = views.isEmpty() ? QStringList(QString()) : views;
    std::vector<ResultPlan> plans;
    QSet<QString> outputs;
    for (const QStringList& group : groups) {
        for (const QString& view : names) {
            const QString name = group.isEmpty() ? QString() : QFileInfo(group.first()).completeBaseName();
            const QString file =
                expanded(output.pattern, name, view.isEmpty() ? QStringLiteral("front") : view, number++, error);
            if (file.isEmpty())
                return {};
            if (outputs.contains(file)) {
                *error = tr("two results have the name '%1'; use {name}, {view} or {n} in -o").arg(file);
                return {};
            }
            outputs.insert(file);
            plans.push_back({group, view, file});
        }
    }
    return plans;
}

} // namespace tov::app
