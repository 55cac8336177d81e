#pragma once

#include <QLabel>
#include <QProxyStyle>

namespace tarn::console {

/// Draws the rows of the window no higher than the ink of their texts: without what a font declares
/// above and below that (see spareRoom()), and with the ink in the middle. For buttons, fields,
/// menu bars and menus, and for labels that are a RowLabel. Where the focus is, the FocusRing
/// shows.
class RowStyle : public QProxyStyle
{
public:
    /// A style of its own that is like the application's. Widgets that get it do not own it.
    explicit RowStyle(QObject *parent);

    QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                           const QWidget *widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override;
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *data) const override;
    void drawItemText(QPainter *painter, const QRect &rect, int flags, const QPalette &palette,
                      bool enabled, const QString &text,
                      QPalette::ColorRole textRole) const override;
};

/// One line of plain text in a row.
class RowLabel : public QLabel
{
public:
    explicit RowLabel(QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
};

} // namespace tarn::console
