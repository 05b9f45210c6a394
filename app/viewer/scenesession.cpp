#include "app/viewer/scenesession.h"

#include "app/viewer/autosave.h"
#include "app/viewer/modelreload.h"
#include "app/viewer/partedits.h"
#include "app/viewer/recentfiles.h"
#include "scene/scene.h"
#include "scene/view/viewer.h"

#include <QFileInfo>

#include <algorithm>

namespace tov::viewer {

SceneSession::SceneSession(EditQueue* edits, QObject* parent)
    : QObject(parent), mp_Edits(edits), mp_PartEdits(new PartEdits(edits, &m_Models, this))
{}

SceneSession::~SceneSession()
{
    // It may store the scene once more.
    delete mp_Autosave;
    mp_Autosave = nullptr;
}

void SceneSession::start(SceneDocument::Parts parts, NoticeBar* notices, RecentFiles* recent)
{
    parts.edits = mp_Edits;
    parts.models = &m_Models;
    parts.partEdits = mp_PartEdits;
    mp_Document = new SceneDocument(parts, this);
    mp_Autosave = new Autosave(mp_Document, notices, this);
    mp_Reload = new ModelReload(parts.opener, &m_Models, mp_Edits, this);
    mp_Reload->watch();
    const auto remember = [recent](const QString& fileName) {
        if (!fileName.isEmpty())
            recent->add(fileName, tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode());
    };
    connect(mp_Document, &SceneDocument::opened, this, [this, remember](const QString& fileName) {
        m_Opened.clear();
        for (const auto& model : m_Models.getModels())
            m_Opened << model.file;
        mp_Reload->watch();
        remember(fileName);
        emit titleChanged();
        emit reported(tr("%1 opened.").arg(QFileInfo(fileName).fileName()));
    });
    connect(mp_Document, &SceneDocument::saved, this, [this, remember](const QString& fileName) {
        remember(fileName);
        emit reported(tr("%1 saved.").arg(QFileInfo(fileName).fileName()));
    });
    connect(mp_Document, &SceneDocument::failed, this, &SceneSession::failed);
    connect(mp_Document, &SceneDocument::titleChanged, this, &SceneSession::titleChanged);
    connect(mp_Reload, &ModelReload::failed, this, &SceneSession::failed);
    connect(mp_Reload, &ModelReload::postponed, this, [this] {
        emit reported(tr("A model has changed. It is reloaded when the pictures and videos are done."));
    });
    connect(mp_Reload, &ModelReload::reloaded, this, [this](const QStringList& names) {
        mp_Document->touch();
        emit reported(names.size() == 1 ? tr("%1 reloaded.").arg(QFileInfo(names.first()).fileName())
                                        : tr("%n models reloaded.", nullptr, names.size()));
    });
}

bool SceneSession::openScene(const QStringList& fileNames)
{
    if (std::none_of(fileNames.begin(), fileNames.end(), tov::app::SceneFile::isSceneFile))
        return false;
    if (fileNames.size() == 1)
        mp_Document->open(fileNames.first());
    else
        emit failed(tr("Open a scene file alone, not together with other files."));
    return true;
}

void SceneSession::addModels(const QStringList& fileNames)
{
    m_Opened << fileNames;
    mp_Reload->watch();
    mp_Document->touch();
    emit titleChanged();
}

bool SceneSession::mayClose(bool mayAsk)
{
    if (mayAsk)
        return mp_Document->mayDiscard();
    if (!mp_Document->getFileName().isEmpty() && mp_Document->isModified())
        mp_Autosave->keep();
    return true;
}

QString SceneSession::getName() const
{
    const QString scene = mp_Document ? mp_Document->getFileName() : QString();
    return QFileInfo(scene.isEmpty() ? m_Opened.value(m_Opened.size() - 1) : scene).completeBaseName();
}

QString SceneSession::getTitle() const
{
    const QString scene = mp_Document->getFileName();
    if (!scene.isEmpty())
        return QFileInfo(scene).fileName() + QStringLiteral("[*] - tov");
    if (m_Opened.isEmpty())
        return QStringLiteral("tov");
    const QString last = QFileInfo(m_Opened.last()).fileName();
    return (m_Opened.size() == 1 ? last : tr("%1 and %n more", nullptr, m_Opened.size() - 1).arg(last)) +
           QStringLiteral(" - tov");
}

} // namespace tov::viewer
