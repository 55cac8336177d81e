#pragma once

class QKeyEvent;
class QTextEdit;

/// The caret of a text that is read by keyboard.
namespace tarn::console::CaretKeys {

/// Whether the key moves the caret, or selects with it.
bool isCaretKey(const QKeyEvent &event);

bool isCaretInSight(const QTextEdit &text);
/// Puts the caret at the start of a line: the first whole one in sight when the caret is above it,
/// the last one when it is below.
void putIntoNearestLineInSight(QTextEdit *text);
void putAtEnd(QTextEdit *text);

/// Whether the caret is in the first or last line of the text as it is shown. Looks at no other
/// paragraph: one that is measured only now would move what is in sight.
bool isInFirstLine(const QTextEdit &text);
bool isInLastLine(const QTextEdit &text);

} // namespace tarn::console::CaretKeys
