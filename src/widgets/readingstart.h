#pragma once

#include <QAccessible>
#include <QObject>

class QTextEdit;

namespace tarn::console {

/// Lets a screen reader start where the person is when the focus enters a read-only text: it reads
/// the line of the caret, which nobody has moved yet from the first line of all. Only while
/// assistive technology is active, and not for a caret that is in sight or selects something.
class ReadingStart : public QObject
{
public:
    /// The view is the parent. Tests have their own answer to whether anybody listens.
    explicit ReadingStart(QTextEdit *view, bool (*isHeard)() = &QAccessible::isActive);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool isCaretLost() const;
    void moveCaretIntoSight();

    QTextEdit *m_view;
    bool (*m_isHeard)();
};

} // namespace tarn::console
