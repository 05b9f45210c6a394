#include "app/viewer/viewbookmarks.h"

#include "app/viewer/thumbnail.h"
#include "scene/view/scenepanel.h"

#include <QPixmap>
#include <QProxyStyle>

namespace tov::viewer {

namespace {

constexpr int IconEdge = 48;
/// Bookmarks that have a key of their own: Ctrl+F1 and so on.
constexpr std::size_t KeyedBookmarks = 9;
/// Drawing more bookmarks of a file takes too long.
constexpr std::size_t MaxDrawnPictures = 40;

/// A menu whose icons are large enough to recognise a view.
class LargeIconStyle : public QProxyStyle
{
public:
    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override
    {
        return metric == PM_SmallIconSize ? IconEdge : QProxyStyle::pixelMetric(metric, option, widget);
    }
};

} // namespace

ViewBookmarks::ViewBookmarks(const QString& title, std::function<tov::gui::ScenePanel*()> activeView, QWidget* parent)
    : QMenu(title, parent), m_ActiveView(std::move(activeView)), mp_Add(new QAction(tr("&Add bookmark"), this))
{
    setObjectName(QStringLiteral("BookmarkMenu"));
    auto* style = new LargeIconStyle;
    style->setParent(this);
    setStyle(style);
    mp_Add->setShortcut(QKeySequence(QStringLiteral("Ctrl+B")));
    connect(mp_Add, &QAction::triggered, this, &ViewBookmarks::add);
    fill();
}

void ViewBookmarks::add()
{
    auto* view = m_ActiveView();
    if (!view)
        return;
    const QImage shown = view->grabFramebuffer().scaled(IconEdge * 2, IconEdge * 2, Qt::KeepAspectRatioByExpanding,
                                                        Qt::SmoothTransformation);
    const QRect middle((shown.width() - IconEdge * 2) / 2, (shown.height() - IconEdge * 2) / 2, IconEdge * 2,
                       IconEdge * 2);
    m_Bookmarks.push_back(
        {tr("View %1").arg(m_NextNumber++), QIcon(QPixmap::fromImage(shown.copy(middle))), view->getCamera()});
    fill();
    emit changed();
}

std::vector<tov::app::SceneFile::Bookmark> ViewBookmarks::getBookmarks() const
{
    std::vector<tov::app::SceneFile::Bookmark> bookmarks;
    for (const Bookmark& each : m_Bookmarks)
        bookmarks.push_back({each.name, each.camera});
    return bookmarks;
}

void ViewBookmarks::setBookmarks(const std::vector<tov::app::SceneFile::Bookmark>& bookmarks)
{
    m_Bookmarks.clear();
    for (const auto& each : bookmarks) {
        QIcon picture;
        if (m_Bookmarks.size() < MaxDrawnPictures)
            picture = QIcon(QPixmap::fromImage(drawScene(each.camera, 2 * IconEdge)));
        m_Bookmarks.push_back({each.name, picture, each.camera});
    }
    m_NextNumber = int(bookmarks.size()) + 1;
    fill();
    emit changed();
}

void ViewBookmarks::go(std::size_t index)
{
    auto* view = m_ActiveView();
    if (view && index < m_Bookmarks.size())
        view->fly([this, view, index] { view->setCamera(m_Bookmarks[index].camera); });
}

void ViewBookmarks::fill()
{
    for (QAction* action : actions()) {
        removeAction(action);
        if (action != mp_Add)
            delete action;
    }
    addAction(mp_Add);
    if (m_Bookmarks.empty())
        return;
    addSeparator();
    for (std::size_t i = 0; i < m_Bookmarks.size(); ++i) {
        auto* action = addAction(m_Bookmarks[i].picture, m_Bookmarks[i].name, this, [this, i] { go(i); });
        if (i < KeyedBookmarks)
            action->setShortcut(QKeySequence(QStringLiteral("Ctrl+F%1").arg(i + 1)));
    }
    addSeparator();
    addAction(tr("Remove all"), this, [this] {
        m_Bookmarks.clear();
        emit changed();
        // This action is deleted by the new list.
        QMetaObject::invokeMethod(
            this, [this] { fill(); }, Qt::QueuedConnection);
    });
}

} // namespace tov::viewer
