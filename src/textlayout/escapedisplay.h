#pragma once

#include <QFont>
#include <QGlyphRun>
#include <QList>
#include <QString>
#include <QTextLayout>

#include <optional>

class QPaintDevice;
class QPainter;
class QTextBlock;

namespace tarn::console {

/// Keeps escapes such as "\u{202E}" and "\xFF" in one piece where text runs from right to left. To
/// the bidirectional algorithm a backslash is neutral: after Arabic it goes with what is before it,
/// and "\xFF" reads "xFF\".
///
/// Positions must stay what they are, so nothing can be inserted. Instead, the layout is given a
/// letter for each backslash, of the same width and too small to be seen, which runs from left to
/// right; the backslash is drawn on top of it.
class EscapeDisplay
{
public:
    /// Beyond so many in a paragraph, the rest stays as it is: every one takes a piece of its own.
    static constexpr qsizetype maximumEscapes = 4000;

    /// Nothing is measured before there is an escape.
    void setFont(const QFont &font, QPaintDevice *device);

    struct Display
    {
        QString text; ///< as long as the one that it stands for
        QList<QTextLayout::FormatRange> formats;
    };
    /// Nothing for a text without escapes.
    std::optional<Display> displayOf(const QString &text) const;

    /// Gives a block's layout something else to lay out than the block's text. Takes the block's
    /// user data.
    void show(const Display &display, const QTextBlock &block) const;
    /// Gives it back the block's text, and no lines.
    static void reset(QTextBlock block);
    static bool isShownBy(const QTextLayout &layout);

    /// Draws the backslashes of a layout that shows a display.
    void drawBackslashes(QPainter *painter, const QTextLayout &layout,
                         const QList<QTextLayout::FormatRange> &selections,
                         const QRectF &clip) const;

private:
    /// Of a font.
    struct Backslash
    {
        QTextCharFormat standIn; ///< of the letter that stands for it
        QGlyphRun glyph;         ///< at the origin
    };
    const Backslash &backslash() const;

    QFont m_font;
    QPaintDevice *m_device = nullptr;
    mutable std::optional<Backslash> m_backslash; ///< once it was asked for
};

} // namespace tarn::console
