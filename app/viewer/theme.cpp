#include "app/viewer/theme.h"

#include <QApplication>
#include <QPainter>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleOption>
#include <QToolTip>

namespace tov::viewer {

namespace {

/// Buttons have texts, and check boxes are visible on a dark background, too.
class PlainButtons : public QProxyStyle
{
public:
    using QProxyStyle::QProxyStyle;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* result) const override
    {
        return hint == SH_DialogButtonBox_ButtonsHaveIcons ? 0 : QProxyStyle::styleHint(hint, option, widget, result);
    }
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override
    {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        if (element != PE_IndicatorCheckBox && element != PE_IndicatorItemViewItemCheck)
            return;
        if (option->palette.color(QPalette::Base).lightness() >= 128)
            return;
        painter->save();
        QColor line = option->palette.color(QPalette::Text);
        line.setAlpha(150);
        painter->setPen(line);
        painter->setBrush(Qt::NoBrush);
        painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
        painter->restore();
    }
};

struct Colors
{
    QColor window, base, alternate, text, button, highlight, highlightedText, disabled, link, tip;
};

QPalette paletteOf(const Colors& colors)
{
    QPalette palette(colors.button, colors.window);
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, colors.text);
    QColor faint = colors.text;
    faint.setAlpha(140);
    palette.setColor(QPalette::PlaceholderText, faint);
    palette.setColor(QPalette::Base, colors.base);
    palette.setColor(QPalette::AlternateBase, colors.alternate);
    palette.setColor(QPalette::Highlight, colors.highlight);
    palette.setColor(QPalette::HighlightedText, colors.highlightedText);
    palette.setColor(QPalette::Link, colors.link);
    palette.setColor(QPalette::LinkVisited, colors.link);
    palette.setColor(QPalette::ToolTipBase, colors.tip);
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::HighlightedText})
        palette.setColor(QPalette::Disabled, role, colors.disabled);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, colors.alternate);
    return palette;
}

const Colors Light = {
    QColor(240, 241, 243), Qt::white, QColor(232, 234, 238), QColor(28, 30, 34),  QColor(228, 230, 234),
    QColor(38, 110, 200),  Qt::white, QColor(140, 144, 152), QColor(20, 90, 190), QColor(255, 255, 225)};
const Colors Dark = {QColor(45, 48, 54),    QColor(32, 34, 39),   QColor(52, 55, 62), QColor(226, 229, 234),
                     QColor(58, 62, 70),    QColor(58, 124, 208), Qt::white,          QColor(128, 133, 143),
                     QColor(116, 178, 255), QColor(66, 70, 79)};

} // namespace

void applyTheme(const QString& name)
{
    // The desktop's own style and palette.
    static const QString style = QApplication::style()->objectName();
    static const QPalette palette = QApplication::palette();
    const bool own = name == QLatin1String("light") || name == QLatin1String("dark");
    QApplication::setStyle(new PlainButtons(own ? QStringLiteral("fusion") : style));
    QApplication::setPalette(own ? paletteOf(name == QLatin1String("dark") ? Dark : Light) : palette);
    QToolTip::setPalette(QApplication::palette());
}

} // namespace tov::viewer
