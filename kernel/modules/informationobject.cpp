#include "kernel/modules/informationobject.h"

namespace tov::main {

InformationObject::InformationObject(const QString& description, const QString& name, const QIcon& icon,
                                     const QUrl& helpUrl, const QUrl& homeUrl)
    : m_Description(description), m_Name(name), m_Icon(icon), m_HelpUrl(helpUrl), m_HomeUrl(homeUrl)
{}

InformationObject::~InformationObject() = default;

QString InformationObject::getName() const
{
    return m_Name;
}

QString InformationObject::getDescription() const
{
    return m_Description;
}

QIcon InformationObject::getIcon() const
{
    return m_Icon;
}

QUrl InformationObject::getHelpUrl() const
{
    return m_HelpUrl;
}

QUrl InformationObject::getHomeUrl() const
{
    return m_HomeUrl;
}

QList<AdditionalInformation>& InformationObject::getAdditionalInformations()
{
    return m_AdditionalInformations;
}

} // namespace tov::main
