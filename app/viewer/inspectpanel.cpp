#include "app/viewer/inspectpanel.h"

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "scene/scene.h"
#include "scene/sceneview.h"
#include "scene/view/viewer.h"

#include <QFormLayout>
#include <QLabel>
#include <QLocale>

namespace tov::viewer {

using tov::main::EventManager;
using tov::scene::Box;
using tov::scene::GeometryElement;

namespace {

struct Counts
{
    qint64 parts = 0;
    qint64 triangles = 0;
    qint64 vertices = 0;
    Box box;

    void add(const GeometryElement& element, const tov::math::Matrix4& transform)
    {
        ++parts;
        if (element.getKind() == tov::scene::Geometry::Kind::Surfaces)
            triangles += qint64(element.getIndices().size() / 3);
        vertices += qint64(element.getVertices().size());
        tov::scene::addBoxOf(element, transform, box);
    }

    QString sizeText() const
    {
        if (box.isEmpty())
            return QString();
        QStringList edges;
        for (std::size_t axis = 0; axis < 3; ++axis)
            edges << QLocale().toString(box.high[axis] - box.low[axis], 'g', 4);
        return edges.join(QStringLiteral(" ") + QChar(0xD7) + QLatin1Char(' '));
    }
};

} // namespace

InspectPanel::InspectPanel(QWidget* parent) : QWidget(parent), mp_Form(new QFormLayout(this))
{
    setObjectName(QStringLiteral("InspectPanel"));
    m_Scene = addFigures(tr("Visible scene"), "Scene");
    m_Selection = addFigures(tr("Selection"), "Selection");
    auto* events = tov::events::EventHandler::getInstance();
    for (const char* name : {"SCENE_ELEMENT_ADDED", "SCENE_ELEMENT_REMOVED", "SCENE_STRUCTURE_UNLOCKED"})
        EventManager::getInstance()->registerEventFunction(
            events->addEvent("Scene", name),
            [this](const tov::main::Event*) {
                // Events come on the thread that changed the scene.
                QMetaObject::invokeMethod(
                    this, [this] { refreshSoon(); }, Qt::QueuedConnection);
            },
            static_cast<const void*>(this));
}

InspectPanel::~InspectPanel()
{
    EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<const void*>(this));
}

InspectPanel::Figures InspectPanel::addFigures(const QString& title, const char* name)
{
    auto* heading = new QLabel(QStringLiteral("<b>%1</b>").arg(title.toHtmlEscaped()), this);
    mp_Form->addRow(heading);
    const auto addRow = [this, name](const QString& label, const char* figure) {
        auto* value = new QLabel(this);
        value->setObjectName(QLatin1String(name) + QLatin1String(figure));
        value->setTextInteractionFlags(Qt::TextSelectableByMouse);
        mp_Form->addRow(label, value);
        return value;
    };
    return {addRow(tr("Parts:"), "Parts"), addRow(tr("Triangles:"), "Triangles"), addRow(tr("Vertices:"), "Vertices"),
            addRow(tr("Size:"), "Size")};
}

void InspectPanel::addSection(const QString& title, QWidget* content)
{
    mp_Form->addRow(new QLabel(QStringLiteral("<b>%1</b>").arg(title.toHtmlEscaped()), this));
    mp_Form->addRow(content);
}

void InspectPanel::refreshSoon()
{
    if (m_RefreshPosted || !isVisible())
        return;
    m_RefreshPosted = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_RefreshPosted = false;
            refresh();
        },
        Qt::QueuedConnection);
}

void InspectPanel::refresh()
{
    Counts scene, selection;
    const auto global = tov::scene::Viewer::getInstance()->getGlobalScene();
    global->lock();
    tov::scene::forEachVisible(global->getRootNode(),
                               [&](const GeometryElement& element, const tov::math::Matrix4& transform) {
                                   scene.add(element, transform);
                                   if (tov::scene::isInSelection(&element))
                                       selection.add(element, transform);
                               });
    global->unlock();
    const auto show = [](const Figures& figures, const Counts& counts) {
        const QLocale locale;
        figures.parts->setText(locale.toString(counts.parts));
        figures.triangles->setText(locale.toString(counts.triangles));
        figures.vertices->setText(locale.toString(counts.vertices));
        figures.size->setText(counts.sizeText());
    };
    show(m_Scene, scene);
    show(m_Selection, selection);
}

void InspectPanel::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    refresh();
}

} // namespace tov::viewer
