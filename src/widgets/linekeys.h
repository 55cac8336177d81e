#pragma once

#include <QTextCursor>

#include <optional>

class QKeyEvent;
class QTextEdit;

/// Keys that move the caret by the lines that are seen, or to the ends of one. Qt's own may stay
/// where they are, or end up in another line, at the edges of wrapped lines: most of all where the
/// text runs from right to left.
namespace tarn::console::LineKeys {

/// Moves a caret one line up or down, to the column from which it came. Returns false, and moves
/// nothing, where there is no such line.
bool moveOneLine(QTextCursor *cursor, QTextCursor::MoveOperation upOrDown,
                 QTextCursor::MoveMode mode);

/// Where a key was meant to move the caret from, if Qt moved it elsewhere.
std::optional<QTextCursor> meantInstead(const QKeyEvent &key, const QTextCursor &from,
                                        const QTextCursor &to);

/// Does what a key for one page up or down does. Returns false, and does nothing, for other keys.
bool movePage(QTextEdit *text, const QKeyEvent &key);

} // namespace tarn::console::LineKeys
