#include "app/viewer/noticebar.h"

#include "app/viewer/glyphs.h"
#include <QDesktopServices>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

namespace tov::viewer {

namespace {
constexpr int MaxNotices = 4;
}

NoticeBar::NoticeBar(QWidget* parent) : QWidget(parent)
{
    mp_Layout = new QVBoxLayout(this);
    mp_Layout->setContentsMargins(0, 0, 0, 0);
    mp_Layout->setSpacing(1);
    hide();
}

QWidget* NoticeBar::add(Kind kind, const QString& text)
{
    for (auto* label : findChildren<QLabel*>(QStringLiteral("NoticeText")))
        if (label->text() == text)
            delete label->parentWidget();
    while (mp_Layout->count() >= MaxNotices)
        delete mp_Layout->itemAt(0)->widget();
    auto* row = new QWidget(this);
    row->setObjectName(QStringLiteral("Notice"));
    row->setAttribute(Qt::WA_StyledBackground);
    const bool dark = palette().color(QPalette::Window).lightness() < 128;
    const bool warning = kind == Kind::Warning;
    row->setStyleSheet(QStringLiteral("QWidget#Notice { background: %1; }")
                           .arg(warning ? (dark ? QStringLiteral("#5a4a1c") : QStringLiteral("#fdf0c4"))
                                        : (dark ? QStringLiteral("#1f4a33") : QStringLiteral("#d9f2e1"))));
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(8, 4, 4, 4);
    auto* icon = new QLabel(row);
    icon->setPixmap(glyphIcon(warning ? Glyph::Warning : Glyph::Done).pixmap(window()->windowHandle(), QSize(18, 18)));
    layout->addWidget(icon);
    auto* label = new QLabel(text, row);
    label->setObjectName(QStringLiteral("NoticeText"));
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(label, 1);
    auto* close = new QToolButton(row);
    close->setAutoRaise(true);
    close->setIcon(glyphIcon(Glyph::Close));
    close->setToolTip(tr("Close this message"));
    connect(close, &QToolButton::clicked, row, [this, row] { remove(row); });
    layout->addWidget(close);
    mp_Layout->addWidget(row);
    if (!warning)
        removeLater(row);
    show();
    return row;
}

void NoticeBar::removeLater(QWidget* row)
{
    QTimer::singleShot(m_LifetimeMs, row, [this, row] {
        if (row->underMouse())
            removeLater(row);
        else
            remove(row);
    });
}

void NoticeBar::remove(QWidget* row)
{
    mp_Layout->removeWidget(row);
    row->hide();
    row->setParent(nullptr);
    row->deleteLater();
    if (mp_Layout->count() == 0)
        hide();
    else
        QTimer::singleShot(0, this, &QWidget::adjustSize);
}

void NoticeBar::showMessage(Kind kind, const QString& text)
{
    add(kind, text);
}

QPointer<QLabel> NoticeBar::showFile(const QString& text, const QString& fileName)
{
    QWidget* row = add(Kind::Information, text);
    auto* layout = static_cast<QHBoxLayout*>(row->layout());
    // Some styles leave no space next to the text of a button.
    const auto widen = [](QPushButton* button) {
        button->setMinimumWidth(button->fontMetrics().horizontalAdvance(button->text()) + 24);
    };
    auto* open = new QPushButton(tr("Open"), row);
    connect(open, &QPushButton::clicked, row,
            [fileName] { QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(fileName).absoluteFilePath())); });
    auto* folder = new QPushButton(tr("Open folder"), row);
    connect(folder, &QPushButton::clicked, row,
            [fileName] { QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(fileName).absolutePath())); });
    widen(open);
    widen(folder);
    layout->insertWidget(layout->count() - 1, open);
    layout->insertWidget(layout->count() - 1, folder);
    return row->findChild<QLabel*>(QStringLiteral("NoticeText"));
}

void NoticeBar::showAction(const QString& text, const QString& label, std::function<void()> action)
{
    QWidget* row = add(Kind::Warning, text);
    auto* layout = static_cast<QHBoxLayout*>(row->layout());
    auto* button = new QPushButton(label, row);
    button->setObjectName(QStringLiteral("NoticeAction"));
    button->setMinimumWidth(button->fontMetrics().horizontalAdvance(label) + 24);
    connect(button, &QPushButton::clicked, this, [this, row, action = std::move(action)] {
        remove(row);
        action();
    });
    layout->insertWidget(layout->count() - 1, button);
}

QStringList NoticeBar::getTexts() const
{
    QStringList texts;
    for (const auto* label : findChildren<QLabel*>(QStringLiteral("NoticeText")))
        texts << label->text();
    return texts;
}

} // namespace tov::viewer
