#pragma once

#include "window/statusmessage.h"

#include <QObject>
#include <QString>

class QLabel;

namespace tarn::console {

class AnswerFocus;
class FocusKeeper;
class InputEditor;
class ProgramSession;

/// The program's input as the user sees it: the draft of the next line, and a status that says what
/// became of the last one. The rules of the input are the session's.
class InputController : public QObject
{
    Q_OBJECT

public:
    /// All of them must outlive the controller.
    InputController(ProgramSession *session, InputEditor *draft, QLabel *status,
                    FocusKeeper *focusKeeper, AnswerFocus *answerFocus);

    /// The text as it was typed, no-break spaces and odd separators included.
    QString draftText() const;

    /// Hands the draft to the program as one line. The draft stays until clearDraft(): the caller
    /// clears it when the session says that the line has been written. False when it is no line
    /// that a program can be sent, and the session has not been asked.
    bool send();
    void clearDraft();
    /// Closes the program's input; the draft stays.
    void close();

    /// Whoever types keeps typing: a draft that is disabled for an instant gets the focus back. And
    /// whoever has started a run gets to type when its input opens.
    void setDraftEnabled(bool enabled);
    bool isDraftEnabled() const;

    /// The draft refused several lines, or one that is too long. Like the refusals of send(), this
    /// is shown until the draft is another.
    void reportMultilinePaste();
    void reportTooLongPaste();
    /// A new run has nothing to say yet; one that ended says so, unless that would hide that the
    /// draft was not sent.
    void reportRunStart();
    void reportRunEnd();
    /// Not in place of that the draft was not sent either.
    void reportUnsavedSettings();

Q_SIGNALS:
    /// A line was refused, or the input closed: what the user has to know without looking.
    void noticeShown(const tarn::console::StatusMessage &notice);

private:
    void show(const StatusMessage &message);
    void showNotice(const StatusMessage &message);
    void showRefusal(const StatusMessage &message);
    void takeDraftChange();

    ProgramSession *m_session;
    InputEditor *m_draft;
    QLabel *m_status;
    FocusKeeper *m_focusKeeper;
    AnswerFocus *m_answerFocus;
    QString m_refusal;      ///< the last one, as it was shown
    QString m_refusedDraft; ///< the draft at that moment
};

} // namespace tarn::console
