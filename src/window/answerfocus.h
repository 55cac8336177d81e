#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

namespace tarn::console {

/// Brings the keyboard focus to the draft when a run begins to take input: whoever starts a program
/// types the first answer next, and it must not go nowhere. Once for each run, and not when the
/// user looks for something, has a menu or a dialog open, or has moved the focus since the start.
class AnswerFocus : public QObject
{
public:
    /// Both must outlive this. In the field the user types something else.
    AnswerFocus(QWidget *draft, QWidget *field);
    ~AnswerFocus() override;

    /// A run is about to start.
    void expectInput();
    /// The draft has been enabled.
    void takeInput();
    /// The user wants the focus where it is, or there is no run to answer any more.
    void forget();

protected:
    /// Of the application, from the start of a run until its input opens.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool isUsersMove(const QWidget *widget, QEvent *event) const;

    QWidget *m_draft;
    QWidget *m_field;
    bool m_isExpecting = false;
};

} // namespace tarn::console
