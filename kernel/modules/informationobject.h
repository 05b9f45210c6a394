#pragma once

#include "kernel/main/export.h"

#include <QIcon>
#include <QList>
#include <QString>
#include <QUrl>

namespace tov::main {

/// The description of a plug-in. Plain strings, passed by value through C entry points.
struct AdditionalInformation
{
    QString name;
    QString description;
    QString version;
    QString author;
};

/// The description of a module, for "About modules". Owned by the module's factory.
class TOV_EXPORT InformationObject
{
public:
    InformationObject(const QString& description, const QString& name, const QIcon& icon, const QUrl& helpUrl,
                      const QUrl& homeUrl);
    ~InformationObject();

    /// The module's name, under which the module manager finds it. Thread: application.
    QString getName() const;
    /// What the module does, in one line. Thread: any.
    QString getDescription() const;
    /// The module's icon; may be null. Thread: application.
    QIcon getIcon() const;
    /// The module's manual, or an empty text. Thread: any.
    QUrl getHelpUrl() const;
    /// The module's web page, or an empty text. Thread: any.
    QUrl getHomeUrl() const;

    /// Further records, one per plug-in of the module; the module fills and clears the list. Thread: application.
    QList<AdditionalInformation>& getAdditionalInformations();

private:
    QString m_Description;
    QString m_Name;
    QIcon m_Icon;
    QUrl m_HelpUrl;
    QUrl m_HomeUrl;
    QList<AdditionalInformation> m_AdditionalInformations;
};

} // namespace tov::main
