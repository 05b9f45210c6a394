#include "app/viewer/commandpalette.h"

#include <QAction>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QVBoxLayout>

#include <algorithm>

namespace tov::viewer {

namespace {

/// "View > Top" for an action in a menu.
QString nameOf(const QAction& action)
{
    QString name = action.text().remove(QLatin1Char('&'));
    if (name.endsWith(QLatin1String(" ...")))
        name.chop(4);
    for (const QWidget* widget : action.associatedWidgets())
        if (const auto* menu = qobject_cast<const QMenu*>(widget))
            if (!menu->title().isEmpty())
                return menu->title().remove(QLatin1Char('&')) + QStringLiteral(" > ") + name;
    return name;
}

bool matches(const QString& name, const QStringList& words)
{
    return std::all_of(words.begin(), words.end(),
                       [&name](const QString& word) { return name.contains(word, Qt::CaseInsensitive); });
}

} // namespace

CommandPalette::CommandPalette(const QList<QAction*>& actions, QWidget* parent)
    : QDialog(parent), mp_Search(new QLineEdit(this)), mp_List(new QListWidget(this))
{
    setObjectName(QStringLiteral("CommandPalette"));
    setWindowTitle(tr("All commands"));
    for (QAction* action : actions)
        if (!action->text().isEmpty() && !action->isSeparator() && !action->menu() && action->isEnabled())
            m_Entries.push_back({nameOf(*action), action->shortcut().toString(QKeySequence::NativeText), action});
    std::stable_sort(m_Entries.begin(), m_Entries.end(),
                     [](const Entry& a, const Entry& b) { return QString::localeAwareCompare(a.name, b.name) < 0; });
    m_Entries.erase(std::unique(m_Entries.begin(), m_Entries.end(),
                                [](const Entry& a, const Entry& b) { return a.name == b.name; }),
                    m_Entries.end());
    mp_Search->setObjectName(QStringLiteral("PaletteSearch"));
    mp_Search->setPlaceholderText(tr("Type a part of a command's name"));
    mp_Search->installEventFilter(this);
    mp_List->setObjectName(QStringLiteral("PaletteList"));
    mp_List->setFocusPolicy(Qt::NoFocus);
    mp_List->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mp_Search);
    layout->addWidget(mp_List, 1);
    connect(mp_Search, &QLineEdit::textChanged, this, &CommandPalette::filter);
    connect(mp_Search, &QLineEdit::returnPressed, this, &CommandPalette::choose);
    connect(mp_List, &QListWidget::itemClicked, this, &CommandPalette::choose);
    resize(520, 400);
    filter(QString());
}

void CommandPalette::filter(const QString& text)
{
    const QStringList words = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    mp_List->clear();
    for (std::size_t i = 0; i < m_Entries.size(); ++i) {
        const Entry& entry = m_Entries[i];
        if (!matches(entry.name, words))
            continue;
        const QString shown =
            entry.shortcut.isEmpty() ? entry.name : QStringLiteral("%1\t%2").arg(entry.name, entry.shortcut);
        auto* item = new QListWidgetItem(shown, mp_List);
        item->setData(Qt::UserRole, int(i));
    }
    mp_List->setCurrentRow(0);
}

void CommandPalette::choose()
{
    const auto* item = mp_List->currentItem();
    if (!item)
        return;
    mp_Chosen = m_Entries[std::size_t(item->data(Qt::UserRole).toInt())].action;
    accept();
}

bool CommandPalette::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        const int step = key == Qt::Key_Down ? 1 : key == Qt::Key_Up ? -1 : 0;
        if (step != 0 && mp_List->count() > 0) {
            mp_List->setCurrentRow((mp_List->currentRow() + step + mp_List->count()) % mp_List->count());
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

} // namespace tov::viewer
