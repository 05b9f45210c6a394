#include "app/viewer/panelgrid.h"

#include "app/viewer/gizmo.h"
#include "app/viewer/panelframe.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QDataStream>
#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::scene::Viewer;

namespace {

/// Whether two views have the same direction and orientation.
bool showSameSide(const ScenePanel& a, const ScenePanel& b)
{
    const auto first = a.getScaledTransformMatrix(), second = b.getScaledTransformMatrix();
    for (unsigned int row = 0; row < 3; ++row) {
        double product = 0, lengths[2] = {0, 0};
        for (unsigned int column = 0; column < 3; ++column) {
            product += first(row, column) * second(row, column);
            lengths[0] += first(row, column) * first(row, column);
            lengths[1] += second(row, column) * second(row, column);
        }
        if (product < 0.999 * std::sqrt(lengths[0] * lengths[1]))
            return false;
    }
    return true;
}

} // namespace

PanelGrid::PanelGrid(QWidget* parent) : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    mp_Rows = new QSplitter(Qt::Vertical, this);
    mp_Rows->setChildrenCollapsible(false);
    layout->addWidget(mp_Rows);
}

PanelGrid::~PanelGrid()
{
    closeAll();
}

int PanelGrid::getPanelCount() const
{
    return int(m_Panels.size());
}

ScenePanel* PanelGrid::getActivePanel() const
{
    auto* panel = Viewer::getInstance()->getActivePanel();
    return std::find(m_Panels.begin(), m_Panels.end(), panel) == m_Panels.end() ? nullptr : panel;
}

ScenePanel* PanelGrid::addPanel()
{
    auto* frame = new PanelFrame;
    ScenePanel* panel = frame->getPanel();
    frame->setGuideAspect(m_GuideAspect);
    frame->getGizmo()->setWanted(m_GizmosShown);
    connect(panel, &ScenePanel::activated, this, [this, panel] { setActivePanel(panel); });
    connect(
        frame, &PanelFrame::closeRequested, this, [this, panel] { emit closeRequested(panel); }, Qt::QueuedConnection);
    if (!m_Panels.empty())
        chooseView(panel, m_Panels.size());
    m_Panels.push_back(panel);
    m_Frames.push_back(frame);
    emit panelAdded(panel);
    return panel;
}

void PanelGrid::chooseView(ScenePanel* panel, std::size_t index) const
{
    typedef ScenePanel::StandardView View;
    static const View views[] = {View::Isometric, View::Front, View::Top, View::Right};
    panel->setStandardView(views[index % 4]);
    if (showSameSide(*panel, *m_Panels.front()))
        panel->setStandardView(View::Isometric);
}

std::vector<ScenePanel*> PanelGrid::getPanelsToClose(int count) const
{
    if (count >= getPanelCount())
        return {};
    return {m_Panels.begin() + std::max(count, 1), m_Panels.end()};
}

void PanelGrid::setPanelCount(int count)
{
    count = count >= 4 ? 4 : std::max(count, 1);
    while (getPanelCount() > count) {
        ScenePanel* last = m_Panels.back();
        if (last == getActivePanel())
            setActivePanel(m_Panels.front());
        closePanel(last);
    }
    bool added = false;
    while (getPanelCount() < count) {
        addPanel();
        added = true;
    }
    arrange();
    if (!getActivePanel() && !m_Panels.empty())
        setActivePanel(m_Panels.front());
    mark();
    if (added)
        emit panelCountChanged(getPanelCount());
}

void PanelGrid::setActivePanel(ScenePanel* panel)
{
    if (panel == Viewer::getInstance()->getActivePanel()) {
        mark();
        return;
    }
    Viewer::getInstance()->setActivePanel(panel);
    mark();
    emit activePanelChanged(panel);
}

void PanelGrid::closePanel(ScenePanel* panel)
{
    const auto found = std::find(m_Panels.begin(), m_Panels.end(), panel);
    if (found == m_Panels.end())
        return;
    const auto index = found - m_Panels.begin();
    PanelFrame* frame = m_Frames[index];
    m_Panels.erase(found);
    m_Frames.erase(m_Frames.begin() + index);
    Viewer::getInstance()->closePanel(panel);
    delete frame;
    mark();
    emit activePanelChanged(getActivePanel());
    emit panelCountChanged(getPanelCount());
}

void PanelGrid::setGuideAspect(double aspect)
{
    m_GuideAspect = aspect;
    for (PanelFrame* frame : m_Frames)
        frame->setGuideAspect(aspect);
}

void PanelGrid::setGizmosShown(bool shown)
{
    m_GizmosShown = shown;
    for (PanelFrame* frame : m_Frames)
        frame->getGizmo()->setWanted(shown);
}

PanelFrame* PanelGrid::getFrame(ScenePanel* panel) const
{
    const auto found = std::find(m_Panels.begin(), m_Panels.end(), panel);
    return found == m_Panels.end() ? nullptr : m_Frames[found - m_Panels.begin()];
}

void PanelGrid::closeAll()
{
    while (!m_Panels.empty())
        closePanel(m_Panels.back());
}

void PanelGrid::arrange()
{
    // Two views are side by side, four in two rows; when one of four is closed, three remain.
    const std::vector<PanelFrame*> frames = m_Frames;
    for (PanelFrame* frame : frames)
        frame->setParent(nullptr);
    while (mp_Rows->count() > 0)
        delete mp_Rows->widget(0);
    const std::size_t perRow = frames.size() <= 1 ? 1 : 2;
    for (std::size_t first = 0; first < frames.size(); first += perRow) {
        auto* row = new QSplitter(Qt::Horizontal, mp_Rows);
        row->setChildrenCollapsible(false);
        for (std::size_t i = first; i < std::min(first + perRow, frames.size()); ++i) {
            row->addWidget(frames[i]);
            frames[i]->show();
        }
        row->setSizes(QList<int>({1000, 1000}));
        row->show();
    }
    mp_Rows->setSizes(QList<int>({1000, 1000}));
}

void PanelGrid::mark()
{
    const auto* active = getActivePanel();
    for (std::size_t i = 0; i < m_Frames.size(); ++i) {
        m_Frames[i]->setMarked(m_Panels[i] == active && m_Panels.size() > 1);
        m_Frames[i]->setClosable(m_Panels.size() > 1);
    }
}

QByteArray PanelGrid::saveState() const
{
    QByteArray state;
    QDataStream stream(&state, QIODevice::WriteOnly);
    stream << qint32(getPanelCount()) << mp_Rows->saveState() << qint32(mp_Rows->count());
    for (int i = 0; i < mp_Rows->count(); ++i)
        stream << static_cast<QSplitter*>(mp_Rows->widget(i))->saveState();
    for (const ScenePanel* panel : m_Panels) {
        const auto matrix = panel->getScaledTransformMatrix();
        for (unsigned int i = 0; i < 16; ++i)
            stream << matrix(i / 4, i % 4);
    }
    return state;
}

bool PanelGrid::restoreState(const QByteArray& state)
{
    QDataStream stream(state);
    qint32 count = 0, rows = 0;
    QByteArray rowState;
    stream >> count >> rowState >> rows;
    if (stream.status() != QDataStream::Ok || (count != 1 && count != 2 && count != 4))
        return false;
    setPanelCount(count);
    mp_Rows->restoreState(rowState);
    for (int i = 0; i < std::min<int>(rows, mp_Rows->count()); ++i) {
        QByteArray columns;
        stream >> columns;
        static_cast<QSplitter*>(mp_Rows->widget(i))->restoreState(columns);
    }
    for (ScenePanel* panel : m_Panels) {
        auto matrix = panel->getScaledTransformMatrix();
        for (unsigned int i = 0; i < 16; ++i)
            stream >> matrix(i / 4, i % 4);
        if (stream.status() != QDataStream::Ok)
            return false;
        panel->setScaledTransformMatrix(matrix);
    }
    return true;
}

} // namespace tov::viewer
