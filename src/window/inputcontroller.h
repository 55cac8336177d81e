#pragma once

#include <QObject>
#include <QString>

class QLabel;

namespace tarn::console {

class FocusKeeper;
class InputEditor;
class ProgramSession;
struct StatusMessage;

/// The program's input as the user sees it: the draft of the next line, and a status that says what
/// became of the last one. The rules of the input are the session's.
class InputController : public QObject
{
    Q_OBJECT

public:
    /// All of them must outlive the controller.
    InputController(ProgramSession *session, InputEditor *draft, QLabel *status,
                    FocusKeeper *focusKeeper);

    /// The text as it was typed, no-break spaces and odd separators included.
    QString draftText() const;

    /// Hands the draft to the program as one line. The draft stays until clearDraft(): the caller
    /// clears it when the session says that the line has been written.
    void send();
    void clearDraft();
    /// Closes the program's input; the draft stays.
    void close();

    /// Whoever types keeps typing: a draft that is disabled for an instant gets the focus back.
    void setDraftEnabled(bool enabled);
    bool isDraftEnabled() const;

    /// The draft refused several lines, or one that is too long.
    void reportMultilinePaste();
    void reportTooLongPaste();
    /// A new run has nothing to say yet; one that ended says so, unless that would hide that the
    /// draft was not sent.
    void reportRunStart();
    void reportRunEnd();

Q_SIGNALS:
    /// A line was refused, or the input closed: what the user has to know without looking.
    void noticeShown(const tarn::console::StatusMessage &notice);

private:
    void show(const StatusMessage &message);
    void showNotice(const StatusMessage &message);

    ProgramSession *m_session;
    InputEditor *m_draft;
    QLabel *m_status;
    FocusKeeper *m_focusKeeper;
};

} // namespace tarn::console
