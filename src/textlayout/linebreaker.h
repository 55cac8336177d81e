#pragma once

#include "textlayout/overlongwords.h"

#include <QString>
#include <QTextOption>
#include <QtGlobal>

#include <functional>

class QTextLayout;
class QTextLine;

namespace tarn::console {

class AdvanceTable;

/// Size of a shaped paragraph, in pixels.
struct ParagraphSize
{
    int height = 0;
    qreal width = 0;     ///< of its widest line; more than the line width when a character is wider
    bool isWhole = true; ///< false for the lines so far of a paragraph that is not finished
};

/// Asked between two lines whether the rest can wait.
using IsEnough = std::function<bool()>;

/// Breaks the text of a layout into lines of a width, as many at a time as there is time for. With
/// a table that follows the ink, the lines stand as close as their ink allows; otherwise, as a text
/// document does it.
class LineBreaker
{
public:
    /// Begins. The layout and the table must live, and the text and the formats of the layout stay
    /// as they are, until the last call of goOn().
    LineBreaker(QTextLayout *layout, const QString &text, const QTextOption &option,
                qreal lineWidth, const AdvanceTable *heights);

    /// Makes one line more at least, and others until it is enough. Returns whether the text is at
    /// its end; then there is nothing more to do.
    bool goOn(const IsEnough &isEnough);

    /// Of the lines so far.
    ParagraphSize size() const;

private:
    void breakLine(QTextLine *line);
    void placeLine(QTextLine *line);

    QTextLayout *m_layout;
    QString m_text;
    QTextOption m_option;
    qreal m_lineWidth;
    const AdvanceTable *m_heights;
    OverlongWords m_words;
    bool m_mayBreakWords;
    qreal m_y = 0;
    qreal m_bottom = 0;
    ParagraphSize m_size{.height = 0, .width = 0, .isWhole = false};
};

/// All at once.
ParagraphSize breakIntoLines(QTextLayout *layout, const QString &text, const QTextOption &option,
                             qreal lineWidth, const AdvanceTable *heights = nullptr);

} // namespace tarn::console
